#include "detection/complex_fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

namespace quorlen::detection {
namespace {

// Direct evaluation of X[k] = sum x[n] e^(-2 pi i kn/N) in double precision.
std::vector<std::complex<double>> naiveDft(const std::vector<float>& re,
                                           const std::vector<float>& im) {
    const size_t n = re.size();
    std::vector<std::complex<double>> out(n);
    for (size_t k = 0; k < n; ++k)
        for (size_t j = 0; j < n; ++j)
            out[k] += std::complex<double>(re[j], im[j]) *
                      std::polar(1.0, -2.0 * std::numbers::pi * double(k * j % n) / double(n));
    return out;
}

std::vector<float> noise(size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(n);
    for (float& v : out)
        v = uniform(generator);
    return out;
}

TEST(ComplexFFT, ForwardIsTheUnscaledDftAndInverseUndoesIt) {
    for (const size_t size : {8u, 64u, 1024u}) {
        std::vector<float> re = noise(size, 1), im = noise(size, 2);
        const auto expected = naiveDft(re, im);
        const std::vector<float> re0 = re, im0 = im;
        ComplexFFT fft(size);
        fft.forward(re, im);
        const double tolerance = 1e-5 * double(size);
        for (size_t k = 0; k < size; ++k) {
            EXPECT_NEAR(re[k], expected[k].real(), tolerance) << size << " bin " << k;
            EXPECT_NEAR(im[k], expected[k].imag(), tolerance) << size << " bin " << k;
        }
        fft.inverse(re, im);
        for (size_t k = 0; k < size; ++k) {
            EXPECT_NEAR(re[k], re0[k], 1e-5);
            EXPECT_NEAR(im[k], im0[k], 1e-5);
        }
    }
}

TEST(ComplexFFT, WritesNothingBeyondTheTransform) {
    const size_t size = 256;
    std::vector<float> re = noise(size + 16, 3), im(size + 16, 0.0f);
    std::fill(re.begin() + size, re.end(), 999.0f);
    std::fill(im.begin() + size, im.end(), 999.0f);
    ComplexFFT fft(size);
    fft.forward(std::span(re).first(size), std::span(im).first(size));
    for (size_t k = size; k < re.size(); ++k) {
        EXPECT_EQ(re[k], 999.0f);
        EXPECT_EQ(im[k], 999.0f);
    }
}

TEST(RealFFT, MatchesTheComplexTransformOfARealInput) {
    const size_t size = 1024;
    const std::vector<float> input = noise(size, 4);
    std::vector<float> re = input, im(size, 0.0f);
    ComplexFFT(size).forward(re, im);
    std::vector<float> realRe(size / 2 + 1), realIm(size / 2 + 1);
    RealFFT(size).forward(input, realRe, realIm);
    for (size_t k = 0; k <= size / 2; ++k) {
        EXPECT_NEAR(realRe[k], re[k], 1e-3) << k;
        EXPECT_NEAR(realIm[k], im[k], 1e-3) << k;
    }
}

} // namespace
} // namespace quorlen::detection
