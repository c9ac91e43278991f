#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace quorlen::detection {

struct FftPlans;

// Makes the plans of the transforms below for `size` now (the complex one,
// and the real one if asked). FFTW ends the process
// when memory runs out while it plans, and its first plan also sets up the
// planner itself; an analysis does this before it reads its file, while
// memory is still plentiful, so that running short later fails one file
// with std::bad_alloc instead.
void preparePlans(size_t size, bool real);

// Split-complex radix-2 transform of `size` points (a power of two).
// forward: X[k] = sum x[n] e^(-2 pi i kn/N), unscaled.
// inverse: x[n] = (1/N) sum X[k] e^(+2 pi i kn/N), so inverse(forward(x)) = x.
// Plans are made once per size for the whole process, under a lock (FFTW's
// planner is not thread-safe; its new-array execution is). Each object owns
// an aligned work buffer, so one object serves one thread at a time.
class ComplexFFT {
public:
    explicit ComplexFFT(size_t size);
    ~ComplexFFT();
    ComplexFFT(const ComplexFFT&) = delete;
    ComplexFFT& operator=(const ComplexFFT&) = delete;

    size_t size() const { return m_size; }

    // Both spans hold `size` values; transformed in place.
    void forward(std::span<float> real, std::span<float> imag);
    void inverse(std::span<float> real, std::span<float> imag);

private:
    void run(bool backward, std::span<float> real, std::span<float> imag);

    size_t m_size;
    const FftPlans* m_plans;
    float* m_buffer; // `size` interleaved complex values
};

// Transform of a real input of `size` points: bins 0 ... size/2 of the
// same unscaled forward transform, about half the work of the complex one.
class RealFFT {
public:
    explicit RealFFT(size_t size);
    ~RealFFT();
    RealFFT(const RealFFT&) = delete;
    RealFFT& operator=(const RealFFT&) = delete;

    size_t size() const { return m_size; }

    // `input` holds `size` values; `real` and `imag` receive size/2 + 1 bins.
    void forward(std::span<const float> input, std::span<float> real, std::span<float> imag);

private:
    size_t m_size;
    const FftPlans* m_plans;
    float* m_input;  // `size` values
    float* m_output; // size/2 + 1 interleaved complex values
};

} // namespace quorlen::detection
