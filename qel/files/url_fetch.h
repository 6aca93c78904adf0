// A download, which the host supplies.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

/// What all downloads have in common: where the content goes, and the request headers that follow from it.
/// A host derives its own and makes them in System::delegateCreateURLFetch; how one is started and watched is
/// the host's.
/// @threads an object is used by one thread at a time.
class QEL_API URLFetch : public Object {
    QEL_CLASS(URLFetch, Object)

public:
    /// Sets the file that the content goes to.
    void setTargetPath(SmartCStr path) { m_targetPath = path.c_str(); }
    /// The file that the content goes to.
    const String& getTargetPath() const { return m_targetPath; }
    /// Asks for the content only if it is newer than the target file. Off at first.
    void setConditional(bool conditional) { m_conditional = conditional; }
    /// Whether only newer content is asked for.
    bool isConditional() const { return m_conditional; }

protected:
    URLFetch() = default;

    /// Adds the pair "If-Modified-Since" and the target file's time of modification, if only newer content is
    /// asked for and there is such a file. Defined in foundation/locale/url_fetch_headers.cpp.
    void getExtraHeaders(Vector<Pair<String, String>>& headers) const;

private:
    String m_targetPath;
    bool m_conditional = false;
};

} // namespace qel
