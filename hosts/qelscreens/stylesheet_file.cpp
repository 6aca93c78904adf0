#include "stylesheet_file.h"

#include "reader_source.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <utility>

namespace qelscreens {

namespace {

constexpr size_t kMostBytes = size_t{4} << 20;

bool isSameFile(const qel::platform::FileStatus& a, const qel::platform::FileStatus& b) {
    return a.identity == b.identity && a.size == b.size && a.modified.seconds == b.modified.seconds &&
           a.modified.nanoseconds == b.modified.nanoseconds;
}

} // namespace

StylesheetFile::StylesheetFile(const std::string& path, std::function<void()> changed)
    : m_path(path),
      m_changed(std::move(changed)),
      m_base(system()->getTheme()->getStyleData()),
      m_alarm(new qel::Alarm()) {
    if (m_path.empty()) return;
    m_alarm->trigger.connect(this, [this] { look(); });
    static_cast<void>(qel::platform::readStatus(m_status, m_path.c_str()));
    read();
    m_alarm->scheduleInSeconds(1);
}

StylesheetFile::~StylesheetFile() {
    m_alarm->cancel();
}

void StylesheetFile::look() {
    m_alarm->scheduleInSeconds(1);
    qel::platform::FileStatus status;
    if (qel::platform::readStatus(status, m_path.c_str()) || isSameFile(status, m_status)) return;
    m_status = status;
    if (read()) m_changed();
}

/// @return true if the theme has got the rules of the file.
bool StylesheetFile::read() {
    qel::Buffer content;
    const std::string problem = readFile(content, m_path, kMostBytes);
    if (!problem.empty()) qel::logging::warning() << problem.c_str();
    const qel::SmartPointer<qel::StyleData> style(new qel::StyleData());
    if (!problem.empty() || !style->loadFromMemory(content.getConstByteSpan())) return false;
    style->setParent(m_base.get());
    system()->getTheme()->setStyleData(style.get());
    return true;
}

} // namespace qelscreens
