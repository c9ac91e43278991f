#include "detection/complex_fft.h"

#include <fftw3.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace quorlen::detection {

// One size's plans. They are made on buffers of kAlignment, and every
// execution uses such buffers too, so the SIMD alignment always matches.
struct FftPlans {
    fftwf_plan forward = nullptr;
    fftwf_plan backward = nullptr;
    fftwf_plan realForward = nullptr;
};

namespace {

enum class PlanKind { complex, real };

// FFTW's own allocator ends the process when memory runs out, so buffers
// come from operator new (which throws std::bad_alloc, one failed file)
// with the widest alignment FFTW's SIMD code asks for.
constexpr std::align_val_t kAlignment{64};

template <typename T> T* allocate(size_t count) {
    return static_cast<T*>(::operator new(count * sizeof(T), kAlignment));
}

void release(void* buffer) { ::operator delete(buffer, kAlignment); }

// The planner allocates too (twiddle tables, scratch), a few times the
// transform's size, and aborts if it cannot. Planning happens once per
// size; before it, memory for several times that must be there, else the
// analysis fails with bad_alloc instead of taking the process down.
void ensurePlannerHeadroom(size_t size) {
    constexpr size_t kTransformsWorth = 16;
    constexpr size_t kFixedBytes = 1 << 20;
    void* probe = std::malloc(kTransformsWorth * size * sizeof(fftwf_complex) + kFixedBytes);
    if (!probe)
        throw std::bad_alloc();
    std::free(probe);
}

void ensurePlans(FftPlans& plans, PlanKind kind, size_t size) {
    const int n = static_cast<int>(size);
    const bool missing = kind == PlanKind::complex ? !plans.forward : !plans.realForward;
    if (missing)
        ensurePlannerHeadroom(size);
    // FFTW_ESTIMATE keeps plans, and so the rounding of results, identical
    // from run to run; measured plans could differ between runs.
    if (kind == PlanKind::complex && !plans.forward) {
        const std::unique_ptr<fftwf_complex, decltype(&release)> a(allocate<fftwf_complex>(size),
                                                                   release);
        plans.forward = fftwf_plan_dft_1d(n, a.get(), a.get(), FFTW_FORWARD, FFTW_ESTIMATE);
        plans.backward = fftwf_plan_dft_1d(n, a.get(), a.get(), FFTW_BACKWARD, FFTW_ESTIMATE);
    }
    if (kind == PlanKind::real && !plans.realForward) {
        const std::unique_ptr<float, decltype(&release)> in(allocate<float>(size), release);
        const std::unique_ptr<fftwf_complex, decltype(&release)> out(
            allocate<fftwf_complex>(size / 2 + 1), release);
        plans.realForward = fftwf_plan_dft_r2c_1d(n, in.get(), out.get(), FFTW_ESTIMATE);
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

void checkLength(size_t actual, size_t expected) {
    if (actual < expected)
        throw std::invalid_argument("FFT buffer shorter than the transform");
}

} // namespace

void preparePlans(size_t size, bool real) {
    plansFor(PlanKind::complex, size);
    if (real)
        plansFor(PlanKind::real, size);
}

ComplexFFT::ComplexFFT(size_t size)
    : m_size(size), m_plans(plansFor(PlanKind::complex, size)),
      m_buffer(reinterpret_cast<float*>(allocate<fftwf_complex>(size))) {}

ComplexFFT::~ComplexFFT() { release(m_buffer); }

void ComplexFFT::run(bool backward, std::span<float> real, std::span<float> imag) {
    checkLength(real.size(), m_size);
    checkLength(imag.size(), m_size);
    for (size_t k = 0; k < m_size; ++k) {
        m_buffer[2 * k] = real[k];
        m_buffer[2 * k + 1] = imag[k];
    }
    auto* data = reinterpret_cast<fftwf_complex*>(m_buffer);
    fftwf_execute_dft(backward ? m_plans->backward : m_plans->forward, data, data);
    for (size_t k = 0; k < m_size; ++k) {
        real[k] = m_buffer[2 * k];
        imag[k] = m_buffer[2 * k + 1];
    }
}

void ComplexFFT::forward(std::span<float> real, std::span<float> imag) { run(false, real, imag); }

void ComplexFFT::inverse(std::span<float> real, std::span<float> imag) {
    run(true, real, imag);
    const float scale = 1.0f / static_cast<float>(m_size);
    for (size_t k = 0; k < m_size; ++k) {
        real[k] *= scale;
        imag[k] *= scale;
    }
}

RealFFT::RealFFT(size_t size)
    : m_size(size), m_plans(plansFor(PlanKind::real, size)), m_input(allocate<float>(size)),
      m_output(nullptr) {
    try {
        m_output = reinterpret_cast<float*>(allocate<fftwf_complex>(size / 2 + 1));
    } catch (...) {
        release(m_input);
        throw;
    }
}

RealFFT::~RealFFT() {
    release(m_input);
    release(m_output);
}

void RealFFT::forward(std::span<const float> input, std::span<float> real, std::span<float> imag) {
    const size_t bins = m_size / 2 + 1;
    checkLength(input.size(), m_size);
    checkLength(real.size(), bins);
    checkLength(imag.size(), bins);
    std::copy(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(m_size), m_input);
    fftwf_execute_dft_r2c(m_plans->realForward, m_input,
                          reinterpret_cast<fftwf_complex*>(m_output));
    for (size_t k = 0; k < bins; ++k) {
        real[k] = m_output[2 * k];
        imag[k] = m_output[2 * k + 1];
    }
}

} // namespace quorlen::detection
