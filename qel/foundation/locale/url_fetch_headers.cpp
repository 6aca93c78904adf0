// The request headers of a download that contain dates.
#include <qel/files/url_fetch.h>

#include <qel/files/file.h>
#include <qel/foundation/locale/date_conversion.h>

namespace qel {

void URLFetch::getExtraHeaders(Vector<Pair<String, String>>& headers) const {
    File::FileInfo info;
    if (!m_conditional || !File::getFileInfo(m_targetPath, info)) return;
    const GregorianDate date = util::convertUTCDateTimeToGMT(static_cast<int64>(info.modificationTime));
    headers.emplace_back("If-Modified-Since", date.formatAsHttpDate() + " GMT");
}

} // namespace qel
