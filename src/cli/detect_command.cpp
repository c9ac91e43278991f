#include "cli/detect_command.h"

#include "cli/audio_paths.h"
#include "cli/command_line.h"
#include "cli/detect_report.h"
#include "cli/interrupt.h"
#include "detection/tempo_detector.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorlen::cli {
namespace {

constexpr std::string_view kSynopsis = "usage: quorlen detect [--json] [-j N] PATH...\n";

struct DetectOptions {
    bool json = false;
    int threads = 0; // 0: the machine's core count
    std::vector<std::string> paths;
};

std::optional<int> parseCount(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1)
        return std::nullopt;
    return value;
}

// Returns the reason the arguments were refused, or nothing.
std::optional<std::string> parseOptions(std::span<const std::string_view> args,
                                        DetectOptions& options) {
    bool onlyPaths = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (onlyPaths || arg == "-" || !arg.starts_with('-')) {
            options.paths.emplace_back(arg);
        } else if (arg == "--") {
            onlyPaths = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "-j" || arg == "--jobs" || arg.starts_with("-j") ||
                   arg.starts_with("--jobs=")) {
            std::string_view value = arg.starts_with("--jobs=") ? arg.substr(7) : arg.substr(2);
            if (arg == "-j" || arg == "--jobs") {
                if (i + 1 == args.size())
                    return "'" + std::string(arg) + "' needs a number of threads";
                value = args[++i];
            }
            const auto count = parseCount(value);
            if (!count)
                return "'" + std::string(value) + "' is not a number of threads (1 or more)";
            options.threads = *count;
        } else {
            return "unknown option '" + std::string(arg) + "'";
        }
    }
    if (options.paths.empty())
        return std::string("no file or folder given");
    return std::nullopt;
}

// Results of all files, filled by the workers in any order, printed in order.
class ResultBoard {
public:
    explicit ResultBoard(size_t count) : lines_(count), failed_(count, false) {}

    void post(size_t index, std::string line, bool failed) {
        {
            const std::lock_guard lock(mutex_);
            lines_[index] = std::move(line);
            failed_[index] = failed;
            ++finished_;
        }
        changed_.notify_all();
    }

    // Waits up to `wait` for file `index`; nullopt when it is not done yet.
    std::optional<std::string> take(size_t index, std::chrono::milliseconds wait, bool& failed) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, wait, [&] { return lines_[index].has_value(); });
        if (!lines_[index])
            return std::nullopt;
        failed = failed_[index];
        return std::exchange(lines_[index], std::nullopt);
    }

    size_t finished() {
        const std::lock_guard lock(mutex_);
        return finished_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::optional<std::string>> lines_;
    std::vector<bool> failed_;
    size_t finished_ = 0;
};

struct Job {
    const std::vector<std::string>& files;
    bool json;
    int innerThreads; // threads inside one analysis
    const std::atomic<bool>& interrupted;
};

// Analyses files until none is left or Ctrl+C; a cancelled file posts nothing.
void work(const Job& job, std::atomic<size_t>& next, ResultBoard& board) {
    const detection::CancelCheck cancelled = [&] { return job.interrupted.load(); };
    for (size_t i = next++; i < job.files.size() && !cancelled(); i = next++) {
        const std::string& file = job.files[i];
        try {
            const detection::Analysis analysis =
                detection::analyzeFile(file, cancelled, {job.innerThreads});
            board.post(i, job.json ? jsonLine(file, analysis.estimate, analysis.damaged)
                                   : textLine(file, analysis.estimate, analysis.damaged), false);
        } catch (const detection::Failure& failure) {
            if (failure.kind() == detection::FailureKind::cancelled)
                return;
            board.post(i, job.json ? jsonFailureLine(file, failure.what())
                                   : textFailureLine(file, failure.what()), true);
        } catch (const std::exception& error) {
            board.post(i, job.json ? jsonFailureLine(file, error.what())
                                   : textFailureLine(file, error.what()), true);
        }
    }
}

// "\r" + erase-line keeps the progress on one terminal line.
void showProgress(std::ostream& err, size_t finished, size_t total) {
    err << "\r\033[Kanalysed " << finished << " of " << total << " files" << std::flush;
}

void clearProgress(std::ostream& err) { err << "\r\033[K" << std::flush; }

int analyzeAll(const DetectOptions& options, std::ostream& out, std::ostream& err,
               const DetectEnvironment& environment) {
    static const std::atomic<bool> kNever{false};
    const std::atomic<bool>& interrupted =
        environment.interrupted ? *environment.interrupted : kNever;
    const std::vector<std::string> files = expandAudioPaths(options.paths);
    if (files.empty())
        err << "quorlen detect: no audio files found\n"; // folders without any; not a failure
    const int threads = options.threads > 0 ? options.threads : std::max(environment.defaultThreads, 1);
    const size_t workers = std::min(files.size(), static_cast<size_t>(threads));
    // Spare threads go inside the analyses when there are fewer files than threads.
    const Job job{files, options.json, std::max(1, threads / std::max<int>(1, int(files.size()))),
                  interrupted};
    const bool progress = environment.stderrIsTerminal && files.size() > 1;

    ResultBoard board(files.size());
    std::atomic<size_t> next{0};
    std::vector<std::jthread> pool;
    for (size_t w = 0; w < workers; ++w)
        pool.emplace_back([&] { work(job, next, board); });

    bool anyFailed = false;
    size_t shown = SIZE_MAX; // count on the progress line, redrawn only when it changes
    for (size_t i = 0; i < files.size() && !interrupted;) {
        if (progress && board.finished() != shown) {
            shown = board.finished();
            showProgress(err, shown, files.size());
        }
        bool failed = false;
        const std::optional<std::string> line = board.take(i, std::chrono::milliseconds(50), failed);
        if (!line || interrupted)
            continue;
        if (progress) {
            clearProgress(err);
            shown = SIZE_MAX;
        }
        out << *line << std::flush;
        anyFailed = anyFailed || failed;
        ++i;
    }
    pool.clear();
    if (progress)
        clearProgress(err);
    if (interrupted)
        return kExitInterrupted;
    return anyFailed ? kExitFailed : kExitOk;
}

} // namespace

int runDetect(std::span<const std::string_view> args, std::ostream& out, std::ostream& err,
              const DetectEnvironment& environment) {
    if (!args.empty() && (args.front() == "--help" || args.front() == "-h")) {
        out << kSynopsis;
        return kExitOk;
    }
    DetectOptions options;
    if (const auto refusal = parseOptions(args, options)) {
        err << "quorlen detect: " << *refusal << '\n' << kSynopsis;
        return kExitUsage;
    }
    return analyzeAll(options, out, err, environment);
}

int detectCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
    const InterruptFlag interrupt;
    DetectEnvironment environment;
    environment.interrupted = &interrupt.raised();
    environment.stderrIsTerminal = isatty(STDERR_FILENO) == 1;
    environment.defaultThreads = static_cast<int>(std::thread::hardware_concurrency());
    return runDetect(args, out, err, environment);
}

} // namespace quorlen::cli
