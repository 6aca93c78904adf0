// A download that the host performs.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

/// The common part of all downloads: the target of the content, and the request headers that follow from it.
/// A host derives its own class and creates objects of it in System::delegateCreateURLFetch; the host also
/// defines how a download is started and watched.
/// @threads an object is used by one thread at a time.
class QEL_API URLFetch : public Object {
    QEL_CLASS(URLFetch, Object)

public:
    /// Sets the file to which the content is written.
    void setTargetPath(SmartCStr path) { m_targetPath = path.c_str(); }
    /// Returns the file to which the content is written.
    const String& getTargetPath() const { return m_targetPath; }
    /// Requests the content only if it is newer than the target file. Off by default.
    void setConditional(bool conditional) { m_conditional = conditional; }
    /// Returns true if only newer content is requested.
    bool isConditional() const { return m_conditional; }

protected:
    URLFetch() = default;

    /// Adds the pair "If-Modified-Since" and the target file's time of modification, if only newer content is
    /// requested and the file exists. Defined in foundation/locale/url_fetch_headers.cpp.
    void getExtraHeaders(Vector<Pair<String, String>>& headers) const;

private:
    String m_targetPath;
    bool m_conditional = false;
};

} // namespace qel
