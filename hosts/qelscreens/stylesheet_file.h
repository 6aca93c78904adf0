// StylesheetFile: a stylesheet that is read again when its file changes.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/file_system.h>
#include <qel/style/style_data.h>
#include <qel/system/tasks/alarm.h>

#include <functional>
#include <string>

namespace qelscreens {

/// Looks at a file once a second and passes its rules to the theme, which asks the sheet that it had before
/// for what the file does not state. A file with errors changes nothing.
/// @threads main thread.
class StylesheetFile : public qel::Object {
    QEL_CLASS(StylesheetFile, qel::Object)

public:
    /// Reads the file, if there is one, and watches it. @param path  empty for none.
    /// @param changed  is called after the theme has got new rules, but not by this constructor.
    StylesheetFile(const std::string& path, std::function<void()> changed);
    ~StylesheetFile() override;

private:
    void look();
    bool read();

    std::string m_path;
    std::function<void()> m_changed;
    qel::platform::FileStatus m_status;
    qel::SmartPointer<qel::StyleData> m_base;
    qel::SmartPointer<qel::Alarm> m_alarm;
};

} // namespace qelscreens
