#pragma once

#include <stdexcept>
#include <string>

namespace quorlen::tags {

// The reasons given at more than one step of a write.
namespace message {
inline constexpr const char* kCannotRead = "cannot read the file";
inline constexpr const char* kCannotName = "cannot name the new file";
inline constexpr const char* kChangedSinceAnalysis = "the file changed while it was analysed";
} // namespace message

// Why a file's tags could not be written, as the end of the line
// "PATH: could not write tags: REASON".
class WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "what: " and the system's description of `errorNumber`.
WriteError systemWriteError(const std::string& what, int errorNumber);

} // namespace quorlen::tags
