#pragma once

// The one settings store the app keeps between launches:
// QSettings(QSettings::NativeFormat, QSettings::UserScope, kSettingsOrganization,
// kSettingsApplication). The statistics reader and the shell's preferences
// both open it, so the location and the opt-out key are written only here.
namespace quorlen::config {
inline constexpr const char* kSettingsOrganization = "quorlen";
inline constexpr const char* kSettingsApplication = "calculator";
// Boolean, default false: set, no usage event is sent.
inline constexpr const char* kStatsOptOutKey = "statsOptOut";
} // namespace quorlen::config
