#pragma once

#include <string>
#include <string_view>

namespace quorlen::cli {

// `text` as it may reach a terminal: control characters (C0, DEL and the
// C1 range, which terminals take as escape sequences) and bytes that are no
// UTF-8 are written as "\xNN" per byte, so a crafted file name can neither
// recolour nor rewrite the screen; everything else passes unchanged.
std::string terminalSafe(std::string_view text);

} // namespace quorlen::cli
