#include "./json_writer.h"
#include "/usr/include/fftw3.h"

#include <RtAudio.h>
