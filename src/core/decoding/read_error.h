#pragma once

#include "text/failure_texts.h"

#include <stdexcept>
#include <string>

namespace quorlen::decoding {

// Thrown by the reader; `what()` is one of the reading texts of text/failure_texts.h.
class ReadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace quorlen::decoding
