#include "key/key_detector.h"

#include "key/key_names.h"
#include "key/key_profiles.h"
#include "key/tonal_frames.h"

#include <algorithm>
#include <cmath>

namespace quorlen::key {
namespace {

// Frames quieter than this (squared magnitude summed over the peak band;
// about a sine at -85 dBFS) or 50 dB below the loudest frame are left out.
constexpr double kSilentEnergy = 1e-2;
constexpr double kQuietShare = 1e-5;
// Below this mean (sustained) tonalness a file holds no key. On the
// development corpus drum grooves (toms included) measure 0.05 to 0.09 and
// noise 0, arranged pieces 0.5 and more; real mixes, with louder drums,
// sit lower.
constexpr double kLeastTonalness = 0.2;

// The model's weights for keyFeatures, fitted by scripts/fit-key-model
// (a softmax over the 24 keys, maximum likelihood with a small L2 penalty)
// on the development part of the rendered key corpus.
constexpr std::array<double, kKeyFeatureCount> kWeights = {12.6986, 5.0030, 7.5434, 0.6584, 2.7157};

struct SpreadProfiles {
    KeyProfile krumhansl{withHarmonics(kKrumhanslKessler.major),
                         withHarmonics(kKrumhanslKessler.minor)};
    KeyProfile temperley{withHarmonics(kTemperley.major), withHarmonics(kTemperley.minor)};
    KeyProfile aarden{withHarmonics(kAardenEssen.major), withHarmonics(kAardenEssen.minor)};
};

const SpreadProfiles& spreadProfiles() {
    static const SpreadProfiles profiles;
    return profiles;
}

const PitchClasses& modeOf(const KeyProfile& profile, bool minor) {
    return minor ? profile.minor : profile.major;
}

PitchClasses scaledToLargest(PitchClasses values) {
    const double largest = *std::max_element(values.begin(), values.end());
    if (largest > 0.0)
        for (double& v : values)
            v /= largest;
    return values;
}

// The profiles the score leans on, each scaled to a largest entry of 1 and
// weighted as the model weights its correlation, turned to `key`.
PitchClasses expectedProfile(const harmony::KeySelection& key) {
    const SpreadProfiles& p = spreadProfiles();
    const PitchClasses* profiles[] = {&modeOf(p.krumhansl, key.isMinor),
                                      &modeOf(p.temperley, key.isMinor),
                                      &modeOf(p.aarden, key.isMinor)};
    PitchClasses mix{};
    for (size_t i = 0; i < std::size(profiles); ++i) {
        const PitchClasses scaled = scaledToLargest(*profiles[i]);
        for (size_t c = 0; c < 12; ++c)
            mix[c] += std::max(kWeights[i], 0.0) * scaled[c];
    }
    return scaledToLargest(rotatedTo(mix, key.tonicPitchClass()));
}

} // namespace

std::array<double, kKeyFeatureCount> keyFeatures(const Chroma& chroma,
                                                 const harmony::KeySelection& key) {
    const SpreadProfiles& p = spreadProfiles();
    const int tonic = key.tonicPitchClass();
    const bool minor = key.isMinor;
    return {
        correlation(chroma.all, rotatedTo(modeOf(p.krumhansl, minor), tonic)),
        correlation(chroma.all, rotatedTo(modeOf(p.temperley, minor), tonic)),
        correlation(chroma.all, rotatedTo(modeOf(p.aarden, minor), tonic)),
        correlation(chroma.bass, rotatedTo(modeOf(p.krumhansl, minor), tonic)),
        minor ? 1.0 : 0.0,
    };
}

std::array<KeyChance, 24> rankKeys(const Chroma& chroma) {
    std::array<KeyChance, 24> chances;
    std::array<double, 24> scores{};
    for (size_t i = 0; i < 24; ++i) {
        const harmony::KeySelection key{static_cast<int>(i % 12), i >= 12};
        const auto features = keyFeatures(chroma, key);
        double score = 0.0;
        for (size_t f = 0; f < kKeyFeatureCount; ++f)
            score += kWeights[f] * features[f];
        chances[i].key = key;
        scores[i] = score;
    }
    const double top = *std::max_element(scores.begin(), scores.end());
    double total = 0.0;
    for (size_t i = 0; i < 24; ++i) {
        chances[i].probability = std::exp(scores[i] - top);
        total += chances[i].probability;
    }
    for (KeyChance& c : chances)
        c.probability /= total;
    std::stable_sort(chances.begin(), chances.end(), [](const KeyChance& a, const KeyChance& b) {
        return a.probability > b.probability;
    });
    return chances;
}

KeyEvidence measureKey(std::span<const float> samples, const detection::CancelCheck& isCancelled,
                       int threads) {
    std::vector<TonalFrame> frames = tonalFrames(samples, isCancelled, threads);
    detection::throwIfCancelled(isCancelled);
    keepSustainedTonalness(frames);
    double loudest = 0.0;
    for (const TonalFrame& f : frames)
        loudest = std::max(loudest, f.energy);
    const double quietest = std::max(kSilentEnergy, loudest * kQuietShare);
    std::erase_if(frames, [quietest](const TonalFrame& f) { return f.energy < quietest; });

    KeyEvidence evidence;
    evidence.soundingFrames = frames.size();
    if (frames.empty())
        return evidence;
    double tonalness = 0.0;
    for (const TonalFrame& f : frames)
        tonalness += f.tonalness;
    evidence.tonalness = tonalness / double(frames.size());
    evidence.tuningCents = estimateTuning(frames);
    evidence.chroma = foldChroma(frames, evidence.tuningCents.value_or(0.0));
    return evidence;
}

KeyEstimate chooseKey(const KeyEvidence& evidence) {
    KeyEstimate estimate;
    const double strongest =
        *std::max_element(evidence.chroma.all.begin(), evidence.chroma.all.end());
    if (!evidence.tuningCents || evidence.tonalness < kLeastTonalness || !(strongest > 0.0))
        return estimate;
    estimate.chroma = scaledToLargest(evidence.chroma.all);
    estimate.tuningCents = evidence.tuningCents;
    const auto ranked = rankKeys(evidence.chroma);
    estimate.key = ranked.front().key;
    estimate.confidence = ranked.front().probability;
    for (size_t i = 1; i <= kKeyAlternatives; ++i)
        estimate.alternatives.push_back(ranked[i].key);
    estimate.profile = expectedProfile(*estimate.key);
    return estimate;
}

KeyEstimate estimateKey(std::span<const float> samples, const detection::CancelCheck& isCancelled,
                        int threads) {
    return chooseKey(measureKey(samples, isCancelled, threads));
}

double a4ForCents(double cents) { return 440.0 * std::exp2(cents / 1200.0); }

} // namespace quorlen::key
