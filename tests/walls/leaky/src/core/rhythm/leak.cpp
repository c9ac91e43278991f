#include "../../audio/engine/spsc_ring.h"
#include "rhythm/euclid.h"

#include <libavformat/avformat.h>
#include <vector>
