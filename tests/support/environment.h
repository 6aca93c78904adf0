// The process's environment and time zone, changed during a test.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace qel::test {

/// Sets an environment variable, or removes it for null, and restores it in the destructor.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : m_name(name) {
        if (const char* before = std::getenv(name)) m_before = before;
        set(value);
    }
    ~EnvironmentVariable() { set(m_before ? m_before->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void set(const char* value) {
        if (value)
            setenv(m_name.c_str(), value, 1);
        else
            unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

/// Sets the process's time zone in the POSIX form, such as "CET-1CEST,M3.5.0,M10.5.0/3".
class TimeZone {
public:
    explicit TimeZone(const char* zone) : m_variable("TZ", zone) { tzset(); }

    /// One hour ahead of UTC; two hours from the last Sunday of March to that of October.
    static constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

private:
    struct ReadAgain {
        ~ReadAgain() { tzset(); }
    };

    ReadAgain m_last; // after the variable, which is restored first
    EnvironmentVariable m_variable;
};

} // namespace qel::test
