#include "cli/audio_paths.h"

#include "decoding/audio_extensions.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace quorlen::cli {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> audioFilesUnder(const fs::path& directory) {
    std::vector<std::string> files;
    std::error_code error;
    fs::recursive_directory_iterator it(
        directory, fs::directory_options::skip_permission_denied, error);
    for (; !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        std::error_code typeError;
        if (it->is_regular_file(typeError) && decoding::hasAudioExtension(it->path().filename().string()))
            files.push_back(it->path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

std::vector<std::string> expandAudioPaths(const std::vector<std::string>& paths) {
    std::vector<std::string> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            const std::vector<std::string> found = audioFilesUnder(path);
            files.insert(files.end(), found.begin(), found.end());
        } else {
            files.push_back(path);
        }
    }
    return files;
}

} // namespace quorlen::cli
