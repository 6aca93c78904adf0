// qelcall: calls a method of a running server from the command line.
#include "client.h"
#include "options.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/progress_bar.h>
#include <hosts/shared/socket_path.h>
#include <hosts/shared/standard_output.h>

#include <chrono>
#include <thread>

namespace {

using namespace qelcall;
using nlohmann::json;

enum Status { kSuccess = 0, kRefused = 1, kNoAnswer = 3 }; // 2 is for a wrong command line

constexpr std::chrono::milliseconds kWatchInterval(100);

void complain(const std::string& text) {
    qelhosts::complain("qelcall", text);
}

void print(const json& result) {
    qelhosts::print(result.dump(2, ' ', false, json::error_handler_t::replace) + "\n");
}

/// Reports an answer without a result. @return its exit status; kSuccess if there is a result.
Status reportFailure(const Answer& answer) {
    if (answer.result) return kSuccess;
    complain(answer.failure.empty() ? answer.refusal : answer.failure);
    return answer.failure.empty() ? kRefused : kNoAnswer;
}

std::string textOf(const json& job, const char* key) {
    const json value = job.value(key, json());
    return value.is_string() ? value.get<std::string>() : value.is_null() ? std::string() : value.dump();
}

/// Returns the id of the job in a result, which is the table of a job or the id alone.
json jobIdOf(const json& result) {
    return result.is_object() ? result.value("id", json()) : result;
}

/// Prints the result of a job that has ended. @param job  the reply with the first rows of the result.
Status finishJob(Client& client, const json& id, json job) {
    if (textOf(job, "state") == "failed") {
        complain("the job failed: " + textOf(job, "error"));
        return kRefused;
    }
    json result = job.value("result", json());
    while (result.is_array() && job.value("next", json()).is_number()) {
        const Answer answer = client.call("jobs.state", json::array({id, job["next"]}));
        if (const Status status = reportFailure(answer)) return status;
        job = *answer.result;
        const json rows = job.is_object() ? job.value("result", json()) : json();
        if (!rows.is_array() || rows.empty()) break;
        result.insert(result.end(), rows.begin(), rows.end());
    }
    print(result);
    return kSuccess;
}

/// Polls the state of job @p id until it has ended, then prints its result.
Status watchJob(Client& client, const json& id) {
    qelhosts::ProgressBar bar;
    for (;; std::this_thread::sleep_for(kWatchInterval)) {
        const Answer answer = client.call("jobs.state", json::array({id}));
        const json job = answer.result.value_or(json());
        const std::string state = job.is_object() ? textOf(job, "state") : std::string();
        const bool isUnknown = answer.result && state.empty();
        if (!answer.result || isUnknown) {
            bar.end();
            if (isUnknown) complain("no such job: " + id.dump());
            return isUnknown ? kRefused : reportFailure(answer);
        }
        const json progress = job.value("progress", json());
        bar.show(state, progress.is_number() ? progress.get<double>() : 0.0);
        if (state != "done" && state != "failed") continue;
        bar.end();
        return finishJob(client, id, job);
    }
}

Status run(const Options& options) {
    Client client(options.timeoutSeconds * 1000);
    const std::string socket = options.socket.empty() ? qelhosts::defaultSocketPath() : options.socket;
    if (const std::string problem = client.connect(socket); !problem.empty()) {
        complain(problem);
        return kNoAnswer;
    }
    const Answer answer = client.call(options.method, options.arguments);
    if (const Status status = reportFailure(answer)) return status;
    if (options.watch) return watchJob(client, jobIdOf(*answer.result));
    print(*answer.result);
    return kSuccess;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options,
                              [&] { return qelhosts::statusAfterOutput(run(options), "qelcall"); });
}
