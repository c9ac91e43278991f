#pragma once

class QWidget;

namespace quorlen {

// For the start-up benchmark: once `window` has painted its first frame,
// prints "first-frame-ms N" (since QUORLEN_LAUNCH_NS, the launcher's clock,
// or since main() began), waits two idle seconds, prints "idle-rss-kb N"
// and quits.
void installStartupProbe(QWidget* window, long long mainStartNs);

long long monotonicNowNs();

} // namespace quorlen
