#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quorlen {

namespace decoding {
class AudioFileReader;
}
class PreviewStream;

// The preview's reader thread: decodes the file in chunks from the playback
// position, converts it to stereo at the rate of the stream's output and
// keeps the stream's ring full. It is the ring's only producer for the life
// of the player, so starting another playback hands it a new file instead
// of a new thread.
class PreviewReader {
public:
    // Called on the reader thread once the audio thread has played the last
    // frame of playback `generation`.
    using FinishedCallback = std::function<void(uint64_t generation)>;

    PreviewReader(PreviewStream& stream, FinishedCallback onFinished);
    ~PreviewReader();
    PreviewReader(const PreviewReader&) = delete;
    PreviewReader& operator=(const PreviewReader&) = delete;

    // Main thread. Abandons what is being read and plays `file` from its
    // current position, after `head` (the already read and faded first
    // frames, interleaved in the file's channels).
    void play(uint64_t generation, std::unique_ptr<decoding::AudioFileReader> file,
              std::vector<float> head);
    // Main thread. Abandons what is being read.
    void stop();

private:
    struct Command {
        uint64_t generation = 0;
        std::unique_ptr<decoding::AudioFileReader> file;
        std::vector<float> head;
    };

    void run();
    void stream(Command& command);
    // False when a newer command or the end of the player interrupted.
    bool pushAll(std::vector<float>& stereo, size_t& consumed, uint64_t generation, bool flush,
                 uint64_t& receipt);
    bool interrupted();

    PreviewStream& m_stream;
    FinishedCallback m_onFinished;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    Command m_next;         // guarded by m_mutex
    bool m_hasNext = false; // guarded by m_mutex
    bool m_quit = false;    // guarded by m_mutex
    std::thread m_thread;
};

} // namespace quorlen
