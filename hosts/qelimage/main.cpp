// qelimage: shows, converts and compares pictures. It uses only the public part of the library.
#include "commands.h"
#include "output.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

namespace {

using namespace qelimage;

struct Command {
    std::string_view name;
    int (*run)(const Options& options);
};

constexpr Command kCommands[] = {
    {"info", &showInfo},  {"convert", &convertPicture}, {"compare", &comparePictures}, {"sheet", &drawSheet},
    {"qr", &writeQrCode}, {"raytrace", &traceRays},     {"samples", &writeSamples}};

constexpr int kWarning = 2; // levels of the log

void writeLogLine(const qel::logging::ConsoleLine& line) {
    if (line.level >= kWarning) complain(printable(line.text)); // may contain names of files
}

int runCommand(const Options& options) {
    for (const Command& command : kCommands)
        if (command.name == options.arguments.front()) return command.run(options);
    return kTrouble;
}

/// Returns kTrouble instead of a success if standard output could not be written, which is reported.
int statusWithOutput(int status) {
    const bool isLost = qelhosts::statusAfterOutput(0, "qelimage") != 0;
    return isLost && status < kTrouble ? kTrouble : status;
}

int run(const Options& options) {
    qel::logging::setConsoleWriter(&writeLogLine);
    qel::System::initialize([] { return new qel::Application(); });
    int status = kTrouble;
    qelhosts::reportingErrors("qelimage", [&] { return status = runCommand(options); });
    qel::System::deinitialize();
    qel::logging::setConsoleWriter(nullptr);
    return statusWithOutput(status);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options, [&] { return run(options); });
}
