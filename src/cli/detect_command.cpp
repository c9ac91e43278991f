#include "cli/detect_command.h"

#include "cli/address_space.h"
#include "cli/arguments.h"
#include "cli/audio_paths.h"
#include "cli/command_line.h"
#include "cli/csv_report.h"
#include "cli/detect_report.h"
#include "cli/interrupt.h"
#include "cli/key_report.h"
#include "cli/progress_line.h"
#include "detection/parallel_for.h"
#include "detection/tempo_detector.h"
#include "key/key_names.h"
#include "tags/tag_writer.h"
#include "text/failure_texts.h"
#include "threads/try_start_thread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quorlen::cli {
namespace {

constexpr KnownOption kOptions[] = {
    {"--json", false},  {"--csv", false},        {"--key", false},  {"-j", true, "--jobs"},
    {"--octave", true}, {"--write-tags", false}, {"--force", false}};
constexpr CommandInfo kCommand{"detect", kDetectSynopsis, kDetectSummary, kOptions};

struct DetectOptions {
    bool json = false;
    bool csv = false; // JSON inside, each line turned into a row on the way out
    bool key = false;
    detection::OctaveMode octave;
    int threads = 0; // 0: the machine's core count
    bool writeTags = false;
    bool force = false; // replace BPM tags the files already have
    std::vector<std::string> paths;
};

std::variant<DetectOptions, UsageError> readOptions(const ParsedArguments& arguments) {
    DetectOptions options;
    options.json = arguments.has("--json");
    options.csv = arguments.has("--csv");
    if (options.json && options.csv)
        return UsageError{"--json and --csv do not go together"};
    options.json = options.json || options.csv;
    options.key = arguments.has("--key");
    if (const auto text = arguments.value("-j")) {
        const auto threads =
            wholeNumberArgument(*text, 1, std::numeric_limits<int>::max(), "a number of threads");
        if (const auto* error = std::get_if<UsageError>(&threads))
            return *error;
        options.threads = std::get<int>(threads);
    }
    if (const auto text = arguments.value("--octave")) {
        const auto mode = detection::parseOctaveMode(*text);
        if (!mode)
            return UsageError{"'" + std::string(*text) +
                              "' is not an octave mode (classic, auto, or LO-HI with LO from 30 "
                              "to 200 and HI from 2 x LO to 400)"};
        options.octave = *mode;
    }
    options.writeTags = arguments.has("--write-tags");
    options.force = arguments.has("--force");
    if (options.force && !options.writeTags)
        return UsageError{"--force only goes with --write-tags"};
    options.paths.assign(arguments.positionals.begin(), arguments.positionals.end());
    if (options.paths.empty())
        return UsageError{"no file or folder given"};
    return options;
}

// What a worker posted for one file.
struct Posted {
    std::string line;
    std::string note; // to stderr after the line; empty for none
    bool failed = false;
    // Memory did not even suffice to word the failure: the printing thread
    // words it when it comes to the file.
    bool outOfMemory = false;
};

// Results of all files, filled by the workers in any order, printed in order.
class ResultBoard {
public:
    explicit ResultBoard(size_t count) : m_posted(count) {}

    void post(size_t index, Posted posted) {
        {
            const std::lock_guard lock(m_mutex);
            m_posted[index] = std::move(posted);
            ++m_finished;
        }
        m_changed.notify_all();
    }

    // Allocates nothing, for a worker that memory failed even for its line.
    void postOutOfMemory(size_t index) noexcept {
        {
            const std::lock_guard lock(m_mutex);
            m_posted[index].emplace();
            m_posted[index]->failed = true;
            m_posted[index]->outOfMemory = true;
            ++m_finished;
        }
        m_changed.notify_all();
    }

    // Waits up to `wait` for file `index`; nullopt when it is not done yet.
    std::optional<Posted> take(size_t index, std::chrono::milliseconds wait) {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, wait, [&] { return m_posted[index].has_value(); });
        return std::exchange(m_posted[index], std::nullopt);
    }

    size_t finished() {
        const std::lock_guard lock(m_mutex);
        return m_finished;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::optional<Posted>> m_posted;
    size_t m_finished = 0;
};

// More threads than a few per core only cost memory and start-up time.
constexpr int kThreadsPerCore = 2;

struct Job {
    const std::vector<AudioPath>& files;
    bool json;
    bool key;
    detection::OctaveMode octave;
    int innerThreads;                      // threads inside one analysis
    detection::ThreadBudget* spareThreads; // beyond those, shared; workers give theirs when done
    detection::CancelCheck cancelled;
    bool writeTags;
    bool force;
};

// A failed file: in JSON its own object among the results, in text a line
// on stderr, so that a pipe of results holds results only.
Posted failurePost(const Job& job, const std::string& file, const std::string& message) {
    if (job.json)
        return {jsonFailureLine(file, message), {}, true};
    return {{}, textFailureLine(file, message), true};
}

// Analyses file `i` and posts its line; false when the run was stopped. A
// cancelled file posts nothing.
bool analyzeEntry(const Job& job, size_t i, ResultBoard& board) {
    const AudioPath& entry = job.files[i];
    const std::string& file = entry.path;
    if (!entry.error.empty()) {
        board.post(i, failurePost(job, file, entry.error));
        return true;
    }
    try {
        // Taken before the analysis: a file that changes meanwhile is not tagged.
        const auto stamp = job.writeTags ? tags::stampOf(file) : std::nullopt;
        const detection::Analysis analysis = detection::analyzeFile(
            file, job.cancelled, {job.innerThreads, job.key, job.spareThreads}, job.octave);
        std::string line = job.json
                               ? jsonLine(file, analysis.estimate, analysis.damaged, job.octave)
                               : textLine(file, analysis.estimate, analysis.damaged);
        const auto withKey = [&](std::string tempoLine) {
            if (!analysis.key)
                return tempoLine;
            return job.json ? withJsonMembers(std::move(tempoLine), keyJsonMembers(*analysis.key))
                            : tempoLine + keyTextLine(*analysis.key);
        };
        if (!job.writeTags) {
            board.post(i, {withKey(std::move(line)), {}, false});
            return true;
        }
        // Without a key (none asked for, or no tonal content) the file's own
        // key tag stays as it is.
        const std::optional<std::string> key =
            analysis.key && analysis.key->key
                ? std::optional<std::string>(key::asciiKeyName(*analysis.key->key))
                : std::nullopt;
        const tags::TagOutcome tagged =
            tags::writeTempoTags(file, {analysis.estimate.bpm, key, job.force, stamp});
        const bool failed = tagged.result == tags::TagResult::failed;
        board.post(i, {withKey(withTagOutcome(std::move(line), tagged, job.json)),
                       failed ? tagFailureLine(file, tagged.reason) : std::string(), failed});
    } catch (const detection::Failure& failure) {
        if (failure.kind() == detection::FailureKind::cancelled)
            return false;
        board.post(i, failurePost(job, file, failure.what()));
    } catch (const std::bad_alloc&) {
        board.postOutOfMemory(i);
    } catch (const std::exception& error) {
        board.post(i, failurePost(job, file, error.what()));
    }
    return true;
}

// Analyses the next file that no thread has taken yet; false when none is
// left or the run was stopped.
bool analyzeNext(const Job& job, std::atomic<size_t>& next, ResultBoard& board) {
    const size_t i = next++;
    if (i >= job.files.size() || job.cancelled())
        return false;
    try {
        return analyzeEntry(job, i, board);
    } catch (const std::bad_alloc&) {
        // Wording a failure needs memory too.
        board.postOutOfMemory(i);
        return true;
    }
}

// The line of a file whose worker ran out of memory. Memory comes back as
// the other analyses end, so a few waits are worth it before giving up.
Posted outOfMemoryPost(const Job& job, const std::string& file) {
    constexpr int kAttempts = 100;
    for (int attempt = 1;; ++attempt) {
        try {
            return failurePost(job, file, text::failure::kAnalysisOutOfMemory);
        } catch (const std::bad_alloc&) {
            if (attempt == kAttempts)
                throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
}

// Starts up to `count` workers; when the system refuses a thread (a process
// limit, no memory for its stack) the run goes on with those it has, down
// to none, when the calling thread does the work itself.
std::vector<std::jthread> startWorkers(size_t count, const Job& job, std::atomic<size_t>& next,
                                       ResultBoard& board) {
    std::vector<std::jthread> pool;
    pool.reserve(count);
    for (size_t w = 0; w < count; ++w) {
        std::optional<std::jthread> worker = threads::tryStartThread([&] {
            while (analyzeNext(job, next, board)) {
            }
            // Out of files: the analyses still running may use its threads.
            job.spareThreads->give(job.innerThreads);
        });
        if (!worker)
            break;
        pool.push_back(std::move(*worker));
    }
    return pool;
}

// "\r" + erase-line keeps the progress on one terminal line.
void showProgress(std::ostream& err, size_t finished, size_t total,
                  std::chrono::steady_clock::time_point start) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    err << "\r\033[K" << progressText(finished, total, elapsed.count()) << std::flush;
}

void clearProgress(std::ostream& err) { err << "\r\033[K" << std::flush; }

int analyzeAll(const DetectOptions& options, std::ostream& out, std::ostream& err,
               const DetectEnvironment& environment) {
    static const std::atomic<bool> kNever{false};
    const std::atomic<bool>& interrupted =
        environment.interrupted ? *environment.interrupted : kNever;
    std::atomic<bool> outputFailed{false};
    const std::vector<AudioPath> files = expandAudioPaths(options.paths);
    const int cores = std::max(environment.defaultThreads, 1);
    const int threads = threadsWithinAddressSpace(
        std::clamp(options.threads > 0 ? options.threads : cores, 1, kThreadsPerCore * cores));
    const size_t workers = std::min(files.size(), static_cast<size_t>(threads));
    // Spare threads go inside the analyses when there are fewer files than
    // threads: each its share, and what is left over shared.
    const int innerThreads = std::max(1, threads / std::max<int>(1, int(files.size())));
    detection::ThreadBudget spareThreads(threads - int(workers) * innerThreads, threads - 1);
    const Job job{files,
                  options.json,
                  options.key,
                  options.octave,
                  innerThreads,
                  &spareThreads,
                  [&] { return interrupted.load() || outputFailed.load(); },
                  options.writeTags,
                  options.force};
    // Never in a pipe: there it would be text among the results.
    const bool progress = environment.stderrIsTerminal && files.size() >= kProgressMinimumFiles;
    const auto start = std::chrono::steady_clock::now();
    if (progress)
        showProgress(err, 0, files.size(), start);

    try {
        // Before the workers start and compete for memory (see there).
        detection::prepareAnalysis();
    } catch (const std::bad_alloc&) {
        // Every file will say so on its own line.
    }
    const std::vector<std::string> columns =
        options.csv ? csvColumns(options.octave.kind != detection::OctaveKind::classic,
                                 options.writeTags, options.key)
                    : std::vector<std::string>();
    if (options.csv)
        out << csvHeader(columns) << std::flush;
    ResultBoard board(files.size());
    std::atomic<size_t> next{0};
    std::vector<std::jthread> pool = startWorkers(workers, job, next, board);

    bool anyFailed = false;
    // The progress line is redrawn when its count changes, and each second
    // for its time left.
    size_t shown = SIZE_MAX;
    auto drawn = start;
    for (size_t i = 0; i < files.size() && !job.cancelled();) {
        if (progress && (board.finished() != shown ||
                         std::chrono::steady_clock::now() - drawn >= std::chrono::seconds(1))) {
            shown = board.finished();
            drawn = std::chrono::steady_clock::now();
            showProgress(err, shown, files.size(), start);
        }
        if (pool.empty())
            analyzeNext(job, next, board);
        std::optional<Posted> posted = board.take(i, std::chrono::milliseconds(50));
        if (!posted || interrupted)
            continue;
        if (posted->outOfMemory)
            posted = outOfMemoryPost(job, job.files[i].path);
        if (progress) {
            clearProgress(err);
            shown = SIZE_MAX;
        }
        const std::string& line = posted->line;
        out << (options.csv && !line.empty() ? csvRow(line, columns) : line) << std::flush;
        err << posted->note;
        // Nobody reads the results any more: stop analysing.
        if (!out)
            outputFailed = true;
        anyFailed = anyFailed || posted->failed;
        ++i;
    }
    pool.clear();
    if (progress)
        clearProgress(err);
    if (interrupted)
        return kExitInterrupted;
    return anyFailed || outputFailed ? kExitFailed : kExitOk;
}

} // namespace

int runDetect(std::span<const std::string_view> args, std::ostream& out, std::ostream& err,
              const DetectEnvironment& environment) {
    const auto read = readArguments(kCommand, args, out, err);
    if (const int* status = std::get_if<int>(&read))
        return *status;
    const auto options = readOptions(std::get<ParsedArguments>(read));
    if (const auto* error = std::get_if<UsageError>(&options))
        return refuse(err, kCommand.name, *error);
    return analyzeAll(std::get<DetectOptions>(options), out, err, environment);
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
