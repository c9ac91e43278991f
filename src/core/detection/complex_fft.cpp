#include "detection/complex_fft.h"

#include <fftw3.h>

#include <cmath>
#include <algorithm>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace quorlen::detection {

// One size's plans. They are made on buffers from fftwf_alloc_*, and every
// execution uses such buffers too, so the SIMD alignment always matches.
struct FftPlans {
    fftwf_plan forward = nullptr;
    fftwf_plan backward = nullptr;
    fftwf_plan realForward = nullptr;
};

namespace {

enum class PlanKind { complex, real };

void ensurePlans(FftPlans& plans, PlanKind kind, size_t size) {
    const int n = static_cast<int>(size);
    // FFTW_ESTIMATE keeps plans, and so the rounding of results, identical
    // from run to run; measured plans could differ between runs.
    if (kind == PlanKind::complex && !plans.forward) {
        fftwf_complex* a = fftwf_alloc_complex(size);
        plans.forward = fftwf_plan_dft_1d(n, a, a, FFTW_FORWARD, FFTW_ESTIMATE);
        plans.backward = fftwf_plan_dft_1d(n, a, a, FFTW_BACKWARD, FFTW_ESTIMATE);
        fftwf_free(a);
    }
    if (kind == PlanKind::real && !plans.realForward) {
        float* in = fftwf_alloc_real(size);
        fftwf_complex* out = fftwf_alloc_complex(size / 2 + 1);
        plans.realForward = fftwf_plan_dft_r2c_1d(n, in, out, FFTW_ESTIMATE);
        fftwf_free(in);
        fftwf_free(out);
    }
    if (kind == PlanKind::complex ? !plans.forward || !plans.backward : !plans.realForward)
        throw std::runtime_error("could not allocate an FFT setup for size " +
                                 std::to_string(size));
}

const FftPlans* plansFor(PlanKind kind, size_t size) {
    static std::mutex mutex;
    static std::map<size_t, FftPlans> plans;
    const std::lock_guard lock(mutex);
    FftPlans& entry = plans[size];
    ensurePlans(entry, kind, size);
    return &entry;
}

unsigned log2Of(size_t size) {
    return static_cast<unsigned>(std::lround(std::log2(static_cast<double>(size))));
}

void checkLength(size_t actual, size_t expected) {
    if (actual < expected)
        throw std::invalid_argument("FFT buffer shorter than the transform");
}

template <typename T> T* allocate(size_t count, T* (*allocator)(size_t)) {
    T* p = allocator(count);
    if (!p)
        throw std::bad_alloc();
    return p;
}

} // namespace

ComplexFFT::ComplexFFT(size_t size)
    : size_(size), log2n_(log2Of(size)), plans_(plansFor(PlanKind::complex, size)),
      buffer_(reinterpret_cast<float*>(allocate(size, fftwf_alloc_complex))) {}

ComplexFFT::~ComplexFFT() { fftwf_free(buffer_); }

void ComplexFFT::run(bool backward, std::span<float> real, std::span<float> imag) {
    checkLength(real.size(), size_);
    checkLength(imag.size(), size_);
    for (size_t k = 0; k < size_; ++k) {
        buffer_[2 * k] = real[k];
        buffer_[2 * k + 1] = imag[k];
    }
    auto* data = reinterpret_cast<fftwf_complex*>(buffer_);
    fftwf_execute_dft(backward ? plans_->backward : plans_->forward, data, data);
    for (size_t k = 0; k < size_; ++k) {
        real[k] = buffer_[2 * k];
        imag[k] = buffer_[2 * k + 1];
    }
}

void ComplexFFT::forward(std::span<float> real, std::span<float> imag) {
    run(false, real, imag);
}

void ComplexFFT::inverse(std::span<float> real, std::span<float> imag) {
    run(true, real, imag);
    const float scale = 1.0f / static_cast<float>(size_);
    for (size_t k = 0; k < size_; ++k) {
        real[k] *= scale;
        imag[k] *= scale;
    }
}

RealFFT::RealFFT(size_t size)
    : size_(size), plans_(plansFor(PlanKind::real, size)),
      input_(allocate(size, fftwf_alloc_real)),
      output_(reinterpret_cast<float*>(allocate(size / 2 + 1, fftwf_alloc_complex))) {}

RealFFT::~RealFFT() {
    fftwf_free(input_);
    fftwf_free(output_);
}

void RealFFT::forward(std::span<const float> input, std::span<float> real,
                      std::span<float> imag) {
    const size_t bins = size_ / 2 + 1;
    checkLength(input.size(), size_);
    checkLength(real.size(), bins);
    checkLength(imag.size(), bins);
    std::copy(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(size_), input_);
    fftwf_execute_dft_r2c(plans_->realForward, input_, reinterpret_cast<fftwf_complex*>(output_));
    for (size_t k = 0; k < bins; ++k) {
        real[k] = output_[2 * k];
        imag[k] = output_[2 * k + 1];
    }
}

} // namespace quorlen::detection
