#include "decoding/ffmpeg_library.h"

extern "C" {
#include <libavutil/log.h>
#include <libavutil/macros.h>
}

#include <cstdarg>
#include <dlfcn.h>
#include <iterator>

namespace quorlen::decoding {
namespace {

// The sonames of the major versions the headers describe.
constexpr const char* kLibraries[] = {
    "libavutil.so." AV_STRINGIFY(LIBAVUTIL_VERSION_MAJOR),
    "libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR),
    "libavformat.so." AV_STRINGIFY(LIBAVFORMAT_VERSION_MAJOR),
};

void dropMessage(void*, int, const char*, va_list) {}

const FfmpegLibrary* load() {
    void* handles[std::size(kLibraries)] = {};
    for (size_t i = 0; i < std::size(kLibraries); ++i) {
        handles[i] = dlopen(kLibraries[i], RTLD_NOW | RTLD_LOCAL);
        if (!handles[i])
            return nullptr; // the reader then refuses every file
    }
    auto find = [&handles](const char* name) -> void* {
        for (void* handle : handles)
            if (void* symbol = dlsym(handle, name))
                return symbol;
        return nullptr;
    };
    static FfmpegLibrary library;
#define QUORLEN_FFMPEG_RESOLVE(name)                                                               \
    library.name = reinterpret_cast<decltype(library.name)>(find(#name));                          \
    if (!library.name)                                                                             \
        return nullptr;
    QUORLEN_FFMPEG_FUNCTIONS(QUORLEN_FFMPEG_RESOLVE)
#undef QUORLEN_FFMPEG_RESOLVE
    library.av_log_set_level(AV_LOG_QUIET);
    library.av_log_set_callback(&dropMessage);
    return &library;
}

} // namespace

const FfmpegLibrary* ffmpeg() {
    static const FfmpegLibrary* const library = load();
    return library;
}

} // namespace quorlen::decoding
