#pragma once

#include <locale.h>

namespace quorlen::text {

// The "C" locale as an object, made once: numbers read and written with it
// use "." whatever locale the process runs in (a GUI toolkit sets the
// user's at start, where printf would then write "500,00"). Null when the
// system cannot make it, which leaves the process locale in charge.
locale_t cLocale();

// While alive, printf-family calls on this thread format numbers the C way.
class CLocaleScope {
public:
    CLocaleScope() : m_previous(uselocale(cLocale() ? cLocale() : locale_t{})) {}
    ~CLocaleScope() { uselocale(m_previous); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    locale_t m_previous;
};

} // namespace quorlen::text
