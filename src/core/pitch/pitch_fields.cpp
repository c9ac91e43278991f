#include "pitch/pitch_fields.h"

#include "text/number_format.h"

namespace quorlen::pitch {

std::string a4FieldText(double a4Hz) { return text::compact(a4Hz); }

std::string tetReferenceFieldText(double referenceHz) {
    return text::format(referenceHz == text::roundHalfAway(referenceHz) ? "%.0f" : "%.2f",
                        referenceHz);
}

} // namespace quorlen::pitch
