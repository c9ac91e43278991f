#include "rhythm/euclid.h"
#include "../../audio/engine/spsc_ring.h"
#include <libavformat/avformat.h>
#include <vector>
