#include "cli/audio_paths.h"

#include "decoding/audio_extensions.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace quorlen::cli {
namespace {

namespace fs = std::filesystem;

std::vector<AudioPath> audioFilesUnder(const fs::path& directory) {
    std::vector<AudioPath> found;
    std::vector<fs::path> pending{directory};
    while (!pending.empty()) {
        const fs::path folder = std::move(pending.back());
        pending.pop_back();
        std::error_code error;
        for (fs::directory_iterator it(folder, error); !error && it != fs::directory_iterator();
             it.increment(error)) {
            std::error_code typeError;
            if (!it->is_symlink(typeError) && it->is_directory(typeError))
                pending.push_back(it->path());
            else if (it->is_regular_file(typeError) &&
                     decoding::hasAudioExtension(it->path().filename().string()))
                found.push_back({it->path().string(), {}});
        }
        if (error)
            found.push_back({folder.string(), error.message()});
    }
    std::sort(found.begin(), found.end(),
              [](const AudioPath& a, const AudioPath& b) { return a.path < b.path; });
    return found;
}

} // namespace

std::vector<AudioPath> expandAudioPaths(const std::vector<std::string>& paths) {
    std::vector<AudioPath> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            const std::vector<AudioPath> found = audioFilesUnder(path);
            if (found.empty())
                files.push_back({path, kNoAudioFiles});
            files.insert(files.end(), found.begin(), found.end());
        } else {
            files.push_back({path, {}});
        }
    }
    return files;
}

} // namespace quorlen::cli
