#include "decoding/library_log.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstdarg>
#include <mutex>

namespace quorlen::decoding {
namespace {

void dropMessage(void*, int, const char*, va_list) {}

} // namespace

void silenceLibraryLogs() {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_level(AV_LOG_QUIET);
        av_log_set_callback(&dropMessage);
    });
}

} // namespace quorlen::decoding
