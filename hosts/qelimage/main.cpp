// qelimage: shows, converts and compares pictures. It uses only the public part of the library.
#include "commands.h"

#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

namespace {

using namespace qelimage;

struct Command {
    std::string_view name;
    int (*run)(const Options& options, Output& output);
};

constexpr Command kCommands[] = {
    {"info", &showInfo}, {"convert", &convertPicture}, {"compare", &comparePictures}, {"qr", &writeQrCode}};

constexpr int kWarning = 2; // levels of the log

void writeLogLine(const qel::logging::ConsoleLine& line) {
    if (line.level >= kWarning) complain(std::string(line.text));
}

int runCommand(const Options& options, Output& output) {
    for (const Command& command : kCommands)
        if (command.name == options.arguments.front()) return command.run(options, output);
    return kTrouble;
}

int run(const Options& options) {
    Output output;
    qel::logging::setConsoleWriter(&writeLogLine);
    qel::System::initialize([] { return new qel::Application(); });
    int status = kTrouble;
    const int failure = qelhosts::reportingErrors("qelimage", [&] {
        status = runCommand(options, output);
        return 0;
    });
    qel::System::deinitialize();
    qel::logging::setConsoleWriter(nullptr);
    return output.finish(failure == 0 ? status : kTrouble);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    const qelhosts::Program program = describe(options);
    qelhosts::parseCommandLine(options, program, argc, argv);
    const auto answer = qelhosts::answerCommandLine(options, program);
    return answer ? *answer : run(options);
}
