#include "detection/waveform_peaks.h"

#include <algorithm>
#include <cmath>

namespace quorlen::detection {
namespace {

constexpr size_t kBucketsPerColumn = 64;

// Column i of n samples covers [trunc(per i), min(n, trunc(per (i + 1)))), as in peakEnvelope.
long long columnStart(double perColumn, size_t column) {
    return static_cast<long long>(perColumn * static_cast<int>(column));
}

float peakOf(std::span<const float> samples, float peak) {
    for (const float x : samples)
        peak = std::max(peak, std::abs(x));
    return peak;
}

} // namespace

PeakColumns::PeakColumns(int columns, long long expectedSamples)
    : m_columns(std::max(columns, 0)), m_expected(std::max(expectedSamples, 0LL)),
      m_perColumn(m_columns > 0 ? static_cast<double>(m_expected) / m_columns : 0.0),
      m_exact(m_expected > 0 ? static_cast<size_t>(m_columns) : 0, 0.0f),
      m_bucketCapacity(kBucketsPerColumn * static_cast<size_t>(m_columns)) {
    if (!m_exact.empty())
        m_columnEnd = std::min(m_expected, columnStart(m_perColumn, 1));
    m_buckets.reserve(m_bucketCapacity);
}

void PeakColumns::push(std::span<const float> samples) {
    if (m_columns == 0)
        return;
    for (size_t at = 0; at < samples.size() && m_total + static_cast<long long>(at) < m_expected;) {
        const long long position = m_total + static_cast<long long>(at);
        while (m_column < m_exact.size() && position >= m_columnEnd) {
            ++m_column;
            m_columnEnd = std::min(m_expected, columnStart(m_perColumn, m_column + 1));
        }
        if (m_column == m_exact.size())
            break;
        const size_t count =
            std::min(samples.size() - at, static_cast<size_t>(m_columnEnd - position));
        m_exact[m_column] = peakOf(samples.subspan(at, count), m_exact[m_column]);
        at += count;
    }
    for (size_t at = 0; at < samples.size();) {
        if (m_buckets.empty() || m_inBucket == m_bucketSamples)
            openBucket();
        const size_t count =
            std::min(samples.size() - at, static_cast<size_t>(m_bucketSamples - m_inBucket));
        m_buckets.back() = peakOf(samples.subspan(at, count), m_buckets.back());
        m_inBucket += static_cast<long long>(count);
        at += count;
    }
    m_total += static_cast<long long>(samples.size());
}

void PeakColumns::openBucket() {
    if (m_buckets.size() == m_bucketCapacity) {
        // Full: pairs merge into buckets twice as long (the count is even).
        for (size_t b = 0; b < m_bucketCapacity / 2; ++b)
            m_buckets[b] = std::max(m_buckets[2 * b], m_buckets[2 * b + 1]);
        m_buckets.resize(m_bucketCapacity / 2);
        m_bucketSamples *= 2;
    }
    m_buckets.push_back(0.0f);
    m_inBucket = 0;
}

std::vector<float> PeakColumns::finish() const {
    if (m_columns == 0 || m_total == 0)
        return {};
    if (m_total == m_expected)
        return m_exact;
    const double perColumn = static_cast<double>(m_total) / m_columns;
    std::vector<float> peaks(static_cast<size_t>(m_columns), 0.0f);
    for (size_t i = 0; i < peaks.size(); ++i) {
        const long long from = columnStart(perColumn, i);
        const long long to = std::min(m_total, columnStart(perColumn, i + 1));
        // Buckets that start in [from, to).
        const auto first = static_cast<size_t>((from + m_bucketSamples - 1) / m_bucketSamples);
        const auto last = static_cast<size_t>((to + m_bucketSamples - 1) / m_bucketSamples);
        for (size_t b = first; b < last && b < m_buckets.size(); ++b)
            peaks[i] = std::max(peaks[i], m_buckets[b]);
    }
    return peaks;
}

} // namespace quorlen::detection
