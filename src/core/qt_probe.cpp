// Built only by the "core_rejects_qt" test, which expects this to fail:
// the core library must not see Qt's headers.
#include <QtCore/QString>
