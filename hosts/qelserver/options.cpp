#include "options.h"

#include <hosts/shared/settings.h>

namespace qelserver {

namespace {

constexpr int kMostWorkers = 64;

} // namespace

qelhosts::Program describe(Options& options) {
    using namespace qelhosts;
    Program program{
        .name = "qelserver",
        .purpose = "answer remote calls and run jobs in worker processes",
        .arguments = "",
        .description =
            "Answers remote calls on a local socket and runs jobs in worker processes, until SIGTERM, Ctrl-C "
            "or "
            "the call \"server.shutdown\".\n\n"
            "The server stores a job before it acknowledges it, so that a job survives even if the server is "
            "killed.\n\n"
            "The user who runs the server may make all calls. The file of --rights lists what other users "
            "may do, "
            "for example \"user radiology: rpc:jobs.* folder:/srv/studies\", \"group staff: rpc:jobs.state\" "
            "and "
            "\"everyone: rpc:workers.list\", each on its own line. It must belong to the server's user or to "
            "root, "
            "and nobody else may be able to write to it.",
        .options = {{"--socket", "PATH", path(options.socket, "socket"),
                     "listen on this socket; default: \"qelserver.sock\" in the user's data folder"},
                    {"--data", "FILE", path(options.data, "file"),
                     "store options, log, statistics and jobs in FILE; default: \"qelserver.store\" in the "
                     "folder of "
                     "application data"},
                    {"--memory", "", flag(options.memory),
                     "keep all records in memory; they are lost when the server stops"},
                    {"--workers", "N", number(options.workers, 0, kMostWorkers),
                     "start N workers, 0 to 64; default: 4"},
                    {"--worker", "FILE", file(options.worker),
                     "the program of the workers; default: \"qelworker\" beside the server, or the installed "
                     "one"},
                    {"--rights", "FILE", file(options.rights),
                     "grant other users the calls and folders that FILE lists; default: none"}},
        .notes = "",
        .statuses =
            {{0, "orderly stop"},
             {1, "the server could not start, or could not store its last changes or write its log lines"}},
        .files = {{"~/.local/share/qelserver.sock", "the socket, unless --socket is given"},
                  {"~/.local/share/ORLANE/qelserver/qelserver.store", "the records, unless --data is given"},
                  {"PREFIX/libexec/qelcore/qelworker",
                   "the installed worker, if the server is in PREFIX/bin"}},
        .examples = {{"qelserver --workers 2", "Starts a server with two workers."},
                     {"qelserver --socket /run/studies/socket --rights /etc/studies.rights",
                      "Answers other users too, as far as the file grants it."}},
        .related = {"qelcall", "qelworker"},
        .advice = ""};
    addCommonOptions(program, options);
    return program;
}

} // namespace qelserver
