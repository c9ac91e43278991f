#include "cli/audio_paths.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>
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
                     hasAudioExtension(it->path().filename().string()))
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

bool hasAudioExtension(const std::string& fileName) {
    static constexpr std::array<std::string_view, 12> kExtensions = {
        ".wav", ".wave", ".aif", ".aiff", ".aifc", ".caf",
        ".mp3", ".flac", ".ogg", ".oga", ".opus", ".w64"};
    const auto dot = fileName.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return false;
    std::string extension = fileName.substr(dot);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

std::vector<AudioPath> expandAudioPaths(const std::vector<std::string>& paths) {
    std::vector<AudioPath> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            const std::vector<AudioPath> found = audioFilesUnder(path);
            files.insert(files.end(), found.begin(), found.end());
        } else {
            files.push_back({path, {}});
        }
    }
    return files;
}

} // namespace quorlen::cli
