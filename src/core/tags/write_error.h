#pragma once

#include "text/failure_texts.h"

#include <stdexcept>
#include <string>

namespace quorlen::tags {

// Why a file's tags could not be written, as the end of the line
// "PATH: could not write tags: REASON".
class WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "what: " and the system's description of `errorNumber`.
WriteError systemWriteError(const std::string& what, int errorNumber);

} // namespace quorlen::tags
