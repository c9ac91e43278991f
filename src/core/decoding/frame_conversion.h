#pragma once

#include <vector>

struct AVFrame;

namespace quorlen::decoding {

// Appends the decoded `frame` to `interleaved` as floats in -1 ... 1 with
// exactly `channels` channels: integer samples are scaled by 1 / 2^(bits-1)
// (unsigned 8-bit ones centred first), so 16-bit PCM comes back exactly as
// written; extra channels are dropped and missing ones are silent. Returns
// false for a sample format no decoder should produce (nothing appended).
bool appendInterleaved(const AVFrame& frame, int channels, std::vector<float>& interleaved);

} // namespace quorlen::decoding
