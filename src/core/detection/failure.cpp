#include "detection/failure.h"

#include "text/failure_texts.h"

#include <utility>

namespace quorlen::detection {
namespace {

std::string messageFor(FailureKind kind, std::string unreadableMessage) {
    switch (kind) {
    case FailureKind::unreadable:
        return unreadableMessage;
    case FailureKind::tooShort:
        return text::failure::kTooShort;
    case FailureKind::noRhythm:
        return text::failure::kNoRhythm;
    case FailureKind::cancelled:
        return text::failure::kCancelled;
    }
    return unreadableMessage;
}

} // namespace

Failure::Failure(FailureKind kind, std::string unreadableMessage)
    : m_kind(kind), m_message(messageFor(kind, std::move(unreadableMessage))) {}

Failure Failure::unreadable(std::string message) {
    return Failure(FailureKind::unreadable, std::move(message));
}

void throwIfCancelled(const CancelCheck& isCancelled) {
    if (isCancelled && isCancelled())
        throw Failure::cancelled();
}

} // namespace quorlen::detection
