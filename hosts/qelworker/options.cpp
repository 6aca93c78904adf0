#include "options.h"

namespace qelworker {

qelhosts::Program describe(Options& options) {
    qelhosts::Program program{
        .name = "qelworker",
        .purpose = "do jobs for a qelserver",
        .arguments = "",
        .description =
            "Does jobs for a server, which starts it. It reads packets from standard input and writes "
            "packets and log lines to standard output. It stops when standard input ends, at SIGTERM "
            "and at Ctrl-C.",
        .options = {},
        .notes = "",
        .statuses = {{0, "orderly stop"}, {1, "standard output could not be written"}},
        .files = {},
        .examples = {{"qelserver --worker /opt/study/qelworker",
                      "Starts a server with this program as worker."}},
        .related = {"qelserver"},
        .advice = ""};
    addCommonOptions(program, options);
    return program;
}

} // namespace qelworker
