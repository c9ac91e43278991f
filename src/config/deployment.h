#pragma once

// Deployment values: where usage events go and where the coffee link points.
namespace quorlen::config {
inline constexpr const char* kStatsHost = "stats.quorlen.app";
inline constexpr const char* kDonationUrl = "https://quorlen.app/coffee";
} // namespace quorlen::config
