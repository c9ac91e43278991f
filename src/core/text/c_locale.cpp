#include "text/c_locale.h"

namespace quorlen::text {

locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t{});
    return locale;
}

} // namespace quorlen::text
