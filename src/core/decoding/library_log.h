#pragma once

namespace quorlen::decoding {

// Routes FFmpeg's log into a handler that drops everything: the reader
// reports its own errors, and nothing of the libraries reaches stderr.
// Safe to call from any thread, any number of times.
void silenceLibraryLogs();

} // namespace quorlen::decoding
