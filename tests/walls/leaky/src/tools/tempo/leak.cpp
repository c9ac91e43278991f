#include "leak.h"

#include "../../app/calculator_tool.h"
#include "../fifths/fifths_wheel.h"
#include "tools/tempo/tempo_view.h"

#include <sndfile.h>
