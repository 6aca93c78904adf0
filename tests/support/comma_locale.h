// A locale with a decimal comma.
#pragma once

#include <qel/platform/process_run.h>
#include <tests/support/environment.h>
#include <tests/support/scratch_folder.h>

#include <clocale>
#include <string>

namespace qel::test {

/// Builds a locale with a decimal comma and uses it for the process until the end of the scope.
class CommaLocale {
public:
    CommaLocale() {
        m_folder.write(
            "source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n");
        // localedef warns about everything that the source omits.
        platform::runProcess({"sh", "-c",
                              "cd \"$0\" && localedef -c -i source -f ANSI_X3.4-1968 ./comma 2>/dev/null",
                              m_folder.path()},
                             {});
        m_isSet = std::setlocale(LC_ALL, "comma") != nullptr;
    }
    /// Returns false if the system cannot build a locale.
    bool isSet() const { return m_isSet; }

private:
    struct Restored {
        ~Restored() { std::setlocale(LC_ALL, name.c_str()); }
        const std::string name = std::setlocale(LC_ALL, nullptr);
    };
    const ScratchFolder m_folder;
    const Restored m_before; // after the path, where the locale of before may be found
    const EnvironmentVariable m_path{"LOCPATH", m_folder.path().c_str()};
    bool m_isSet = false;
};

} // namespace qel::test
