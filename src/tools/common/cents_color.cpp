#include "tools/common/cents_color.h"

#include "ui/theme.h"

namespace quorlen {

QColor centsColor(double cents) {
    switch (pitch::centsBand(cents)) {
    case pitch::CentsBand::inTune:
        return QuorlenTheme::fern();
    case pitch::CentsBand::noticeable:
        return QuorlenTheme::saffron();
    case pitch::CentsBand::farOff:
        break;
    }
    return QuorlenTheme::lacquer();
}

} // namespace quorlen
