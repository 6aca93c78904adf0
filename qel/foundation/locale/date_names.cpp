// The translated names of months and week days.
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/locale/gregorian_date.h>

#include <span>
#include <string>
#include <unordered_map>

namespace qel {

namespace {

/// The translation key of a name, and the name to use if there is no translation.
struct NameSource {
    const char* key;
    const char* fallback;
};

constexpr NameSource kMonths[] = {
    {"month-jan", "Jan"}, {"month-feb", "Feb"}, {"month-mar", "Mar"}, {"month-apr", "Apr"},
    {"month-may", "May"}, {"month-jun", "Jun"}, {"month-jul", "Jul"}, {"month-aug", "Aug"},
    {"month-sep", "Sep"}, {"month-oct", "Oct"}, {"month-nov", "Nov"}, {"month-dec", "Dec"},
};

constexpr NameSource kWeekDays[] = {
    {"weekday-mon", "Mon"}, {"weekday-tue", "Tue"}, {"weekday-wed", "Wed"}, {"weekday-thu", "Thu"},
    {"weekday-fri", "Fri"}, {"weekday-sat", "Sat"}, {"weekday-sun", "Sun"},
};

/// Keeps the first translation of each name, whatever changes in the translations, so that a name is the same
/// throughout a running program. Only an empty name is looked up again.
class NameCache {
public:
    explicit NameCache(std::span<const NameSource> sources) : m_sources(sources) {}

    /// @param index  counted from 0.
    String get(int index, const char* language) {
        if (index < 0 || static_cast<std::size_t>(index) >= m_sources.size()) return "err";
        const MutexLock lock(m_mutex); // held during the lookup too, so that a name is looked up once
        String& name = m_names[language ? language : ""][index];
        if (name.empty()) {
            const NameSource& source = m_sources[static_cast<std::size_t>(index)];
            name = Object::tr_l(language, source.key, source.fallback);
        }
        return name;
    }

private:
    const std::span<const NameSource> m_sources;
    Mutex m_mutex;
    std::unordered_map<std::string, std::unordered_map<int, String>> m_names QEL_GUARDED_BY(m_mutex);
};

} // namespace

String GregorianDate::getMonthName(int month, const char* language) {
    static NameCache cache(kMonths);
    return month < 1 ? String("err") : cache.get(month - 1, language);
}

String GregorianDate::getWeekdayName(int day, const char* language) {
    static NameCache cache(kWeekDays);
    return cache.get(day, language);
}

} // namespace qel
