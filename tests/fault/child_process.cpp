#include "child_process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace quorlen::testing {
namespace {

// The exit status of a child that could not set up what was asked.
constexpr int kSetupFailed = 125;

std::string contents(FILE* file) {
    std::rewind(file);
    std::string text;
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, file)) > 0;)
        text.append(chunk, n);
    std::fclose(file);
    return text;
}

// Root passes every permission check through these two capabilities; a
// process started by root gets them back at exec unless they leave the
// bounding set.
bool dropPermissionOverrides() {
    return geteuid() != 0 || (prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
                              prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0);
}

[[noreturn]] void becomeChild(const ChildRun& run, int outFd, int errFd) {
    if (run.output == ChildRun::Output::closed)
        close(STDOUT_FILENO);
    else
        dup2(run.output == ChildRun::Output::full ? open("/dev/full", O_WRONLY) : outFd,
             STDOUT_FILENO);
    dup2(errFd, STDERR_FILENO);
    for (const auto& [name, value] : run.environment)
        setenv(name.c_str(), value.c_str(), 1);
    if (run.addressSpaceBytes && !kUnderSanitizer) {
        const rlimit limit{*run.addressSpaceBytes, *run.addressSpaceBytes};
        if (setrlimit(RLIMIT_AS, &limit) != 0)
            _exit(kSetupFailed);
    }
    if (run.obeyFilePermissions && !dropPermissionOverrides())
        _exit(kSetupFailed);
    std::vector<char*> argv;
    for (const std::string& word : run.argv)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
}

} // namespace

ChildRun::Event interruptAt(std::chrono::milliseconds at) {
    return {at, [](int pid) { kill(pid, SIGINT); }};
}

ChildResult runChild(const ChildRun& run) {
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    ChildResult result;
    FILE* out = std::tmpfile();
    FILE* err = std::tmpfile();
    const auto started = Clock::now();
    const pid_t pid = fork();
    if (pid == 0)
        becomeChild(run, fileno(out), fileno(err));
    int wstatus = 0;
    size_t nextEvent = 0;
    auto lastEvent = started;
    while (waitpid(pid, &wstatus, WNOHANG) != pid) {
        if (nextEvent < run.events.size() && Clock::now() - started >= run.events[nextEvent].at) {
            run.events[nextEvent++].action(pid);
            lastEvent = Clock::now();
        }
        if (Clock::now() - started > run.timeout) {
            kill(pid, SIGKILL);
            waitpid(pid, &wstatus, 0);
            result.timedOut = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    result.seconds = Seconds(Clock::now() - started).count();
    if (nextEvent > 0)
        result.secondsAfterLastEvent = Seconds(Clock::now() - lastEvent).count();
    if (!result.timedOut && WIFEXITED(wstatus))
        result.status = WEXITSTATUS(wstatus);
    if (!result.timedOut && WIFSIGNALED(wstatus))
        result.signal = WTERMSIG(wstatus);
    result.unsupported = result.status == kSetupFailed;
    result.out = contents(out);
    result.err = contents(err);
    return result;
}

} // namespace quorlen::testing
