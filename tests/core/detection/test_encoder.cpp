#include "test_encoder.h"

#include <cmath>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace quorlen::detection::testing {

// The samples go to FFmpeg's command line as raw floats; the container
// follows from the file's extension, as it does for any user's ffmpeg run.
bool encodeSound(const std::filesystem::path& path, std::span<const float> interleaved,
                 int channels, int rateHz, const Encoding& encoding) {
    const std::filesystem::path raw = path.string() + ".f32";
    std::ofstream(raw, std::ios::binary)
        .write(reinterpret_cast<const char*>(interleaved.data()),
               static_cast<std::streamsize>(interleaved.size_bytes()));
    // One grey 64x64 picture per second of sound.
    const auto seconds =
        static_cast<long>(std::ceil(double(interleaved.size()) / channels / rateHz));
    const bool video = encoding.withVideo || encoding.videoOnly;
    std::vector<std::string> args = {"ffmpeg", "-nostdin", "-loglevel", "quiet", "-y"};
    if (video)
        args.insert(args.end(),
                    {"-f", "lavfi", "-i", "color=c=gray:s=64x64:r=1:d=" + std::to_string(seconds)});
    if (!encoding.videoOnly)
        args.insert(args.end(),
                    {"-f", "f32le", "-ar", std::to_string(rateHz), "-ac", std::to_string(channels),
                     "-i", raw.string(), "-c:a", encoding.encoder, "-strict", "experimental"});
    if (video)
        args.insert(args.end(), {"-c:v", "mpeg4"});
    if (encoding.title)
        args.insert(args.end(), {"-metadata", std::string("title=") + encoding.title});
    if (encoding.bitRate > 0)
        args.insert(args.end(), {"-b:a", std::to_string(encoding.bitRate)});
    args.push_back(path.string());

    std::vector<char*> argv;
    for (std::string& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    int status = -1;
    const bool ran = posix_spawnp(&pid, "ffmpeg", nullptr, nullptr, argv.data(), environ) == 0 &&
                     waitpid(pid, &status, 0) == pid;
    std::filesystem::remove(raw);
    return ran && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace quorlen::detection::testing
