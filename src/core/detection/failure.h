#pragma once

#include "text/failure_texts.h"

#include <exception>
#include <functional>
#include <string>

namespace quorlen::detection {

// Answers whether the running analysis should stop. Long steps poll it at
// fixed strides so that a cancelled job ends within a fraction of a second.
// An analysis given several threads may call it from all of them at once.
using CancelCheck = std::function<bool()>;

enum class FailureKind { unreadable, tooShort, noRhythm, cancelled };

// The one error every stage of the analysis throws. `what()` is the complete
// sentence the user sees; for `unreadable` it is the decoder's own message.
class Failure : public std::exception {
public:
    explicit Failure(FailureKind kind, std::string unreadableMessage = {});

    FailureKind kind() const noexcept { return m_kind; }
    const char* what() const noexcept override { return m_message.c_str(); }

    static Failure unreadable(std::string message);
    static Failure tooShort() { return Failure(FailureKind::tooShort); }
    static Failure noRhythm() { return Failure(FailureKind::noRhythm); }
    static Failure cancelled() { return Failure(FailureKind::cancelled); }
    // A file longer than memory allows is one more file that cannot be read.
    static Failure outOfMemory() { return unreadable(text::failure::kAnalysisOutOfMemory); }

private:
    FailureKind m_kind;
    std::string m_message;
};

// Throws `cancelled` when the callback says so; an empty callback never cancels.
void throwIfCancelled(const CancelCheck& isCancelled);

} // namespace quorlen::detection
