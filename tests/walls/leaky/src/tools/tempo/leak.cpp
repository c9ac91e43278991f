#include "leak.h"
#include "tools/tempo/tempo_view.h"
#include "../fifths/fifths_wheel.h"
#include "../../app/calculator_tool.h"
#include <sndfile.h>
