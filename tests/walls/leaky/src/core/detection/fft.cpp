#include <fftw3.h>

#include <taglib/tag.h>
