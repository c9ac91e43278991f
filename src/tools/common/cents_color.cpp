#include "tools/common/cents_color.h"

#include "ui/theme.h"

namespace quorlen {

QColor centsColor(double cents) {
    switch (centsBand(cents)) {
    case CentsBand::inTune:
        return QuorlenTheme::fern();
    case CentsBand::noticeable:
        return QuorlenTheme::saffron();
    case CentsBand::farOff:
        break;
    }
    return QuorlenTheme::lacquer();
}

} // namespace quorlen
