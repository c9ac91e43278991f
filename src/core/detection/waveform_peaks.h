#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::detection {

// `peakEnvelope` of a signal that arrives in pieces, in memory that does
// not grow with it. When the signal ends at the expected length (a header's
// count, exact for PCM and FLAC) the columns are exactly peakEnvelope's.
// Otherwise they come from peaks of equal buckets of 2^k samples (the
// smallest k that keeps at most 64 buckets per column): a column then
// starts at the first bucket that starts within it, so its edges move by
// less than a bucket.
class PeakColumns {
public:
    PeakColumns(int columns, long long expectedSamples);

    void push(std::span<const float> samples);
    std::vector<float> finish() const;

private:
    void openBucket();

    int m_columns;
    long long m_total = 0;
    // Exact columns for the expected length.
    long long m_expected;
    double m_perColumn;
    std::vector<float> m_exact;
    size_t m_column = 0;
    long long m_columnEnd = 0;
    // Buckets for any length.
    std::vector<float> m_buckets;
    size_t m_bucketCapacity;
    long long m_bucketSamples = 1;
    long long m_inBucket = 0;
};

} // namespace quorlen::detection
