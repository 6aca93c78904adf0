#include <qel/platform/console.h>

#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qel::platform {

FileHandle borrowStandardStream(StandardStream stream) {
    return FileHandle(static_cast<int>(stream));
}

void occupyMissingStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        // open() takes the lowest free number. The device is opened for reading only, so that writes still
        // fail.
        if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    }
}

bool isTerminal(StandardStream stream) {
    return isatty(static_cast<int>(stream)) == 1;
}

int terminalWidth(StandardStream stream) {
    constexpr int kUsualWidth = 80;
    winsize size{};
    if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualWidth;
    return size.ws_col;
}

bool wantsColor(StandardStream stream) {
    const char* refusal = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    if ((refusal && *refusal) || !terminal) return false;
    return std::string_view(terminal) != "dumb" && isTerminal(stream);
}

} // namespace qel::platform
