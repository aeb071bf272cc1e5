// Streams that are damaged or lie: a code, whole memory, and an end in good time.

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "jpeg/Pictures.h"
#include "support/Faults.h"

using namespace jpegtest;

namespace {

struct Sample {
    const char *name;
    int depth; ///< that it is loaded with
    Bytes stream;
};

constexpr uint32_t kWidth = 24;
constexpr uint32_t kHeight = 18;

/** A stream of each process. */
std::vector<Sample> Samples() {
    const Words gray = MakeSamples(kWidth, kHeight, 1, 12, Content::Smooth);
    const Words color = MakeSamples(kWidth, kHeight, 3, 8, Content::Smooth);
    const Bytes packed = PackRows(gray, kHeight, 12);
    const Bytes bgr = PackRows(color, kHeight, 24);
    jpeg::LosslessOptions restarting;
    restarting.restartRows = 4;
    restarting.predictor = 6;
    restarting.isInterleaved = false;
    const auto header12 = HeaderOf(kWidth, kHeight, 12);
    const auto header24 = HeaderOf(kWidth, kHeight, 24);
    return {
        {"lossless", 16, Save(packed, header12, 0)},
        {"lossless, interleaved", 24, Save(bgr, header24, 0)},
        {"lossless, scans and restarts", 48, SaveLossless(color, kWidth, kHeight, 3, restarting)},
        {"12 bits", 16, Save(packed, header12, 60)},
        {"8 bits", 24, Save(bgr, header24, 60)}};
}

bool IsDocumented(int32_t result) {
    return result == MFCMPX_SUCCESS || result == MFCMPX_ERROR_FORMAT ||
           result == MFCMPX_ERROR_COLOR || result == MFCMPX_ERROR_MEMORY;
}

TEST(Hostile, StreamsThatAreCutOrChangedEndInACode) {
    std::minstd_rand random(7);
    for (const auto &[name, depth, stream] : Samples()) {
        const size_t headers = Behind(stream, 0xDA) + 6;
        for (size_t size = 1; size < stream.size(); ++size) {
            const Bytes part(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(size));
            const int32_t result = Load(part, kWidth, kHeight, depth).result;
            const bool isFormat = result == MFCMPX_ERROR_FORMAT;
            EXPECT_TRUE(size <= headers ? isFormat : IsDocumented(result)) << name << " " << size;
        }
        const Bytes most(stream.begin(), stream.end() - 2 - 8);
        EXPECT_EQ(Load(most, kWidth, kHeight, depth).result, MFCMPX_SUCCESS) << name;
        for (int i = 0; i < 4000; ++i) {
            Bytes changed = stream;
            for (unsigned flips = 1 + random() % 3; flips > 0; --flips) {
                changed[random() % changed.size()] ^= static_cast<uint8_t>(1u << random() % 8);
            }
            ASSERT_TRUE(IsDocumented(Load(changed, kWidth, kHeight, depth).result)) << name;
        }
    }
}

/** Lets each allocation of some work fail in turn; it has to say so. */
template <typename Work>
void FailEachAllocation(const std::string &name, Work work) {
    support::ForEachFault("codec, " + name, KERNEL_FAULT_ALLOCATE, [&](const auto &arm) {
        arm();
        const int32_t result = work();
        EXPECT_EQ(result, support::DisarmFault() ? MFCMPX_ERROR_MEMORY : MFCMPX_SUCCESS);
    });
}

TEST(Hostile, MemoryMayRunOutAnywhere) {
    Bytes room(kWidth * kHeight * 12 + 4096);
    for (const Sample &sample : Samples()) {
        FailEachAllocation(sample.name, [&] {
            return fltLoadBuffer(sample.stream.data(), static_cast<uint32_t>(sample.stream.size()),
                                 room.data(), 0, kWidth, kHeight, sample.depth, nullptr, nullptr);
        });
    }
    const Bytes rows(Stride(kWidth, 24) * kHeight, 0x35);
    for (const auto &[depth, quality] : {std::pair{24, 0}, {12, 0}, {12, 50}}) {
        const _MFCMPXBITMAP header = HeaderOf(kWidth, kHeight, depth);
        FailEachAllocation("saving", [&, quality = quality] {
            auto size = static_cast<uint32_t>(room.size());
            return fltSaveBuffer(rows.data(), &header, room.data(), &size, quality, 0, 0, nullptr,
                                 nullptr);
        });
    }
}

TEST(Hostile, AFrameOfAnotherShapeIsRefusedBeforeDecoding) {
    for (const Sample &sample : Samples()) {
        const Bytes &stream = sample.stream;
        EXPECT_EQ(Load(stream, kWidth, kHeight, sample.depth).result, MFCMPX_SUCCESS);
        const bool isGray = sample.depth == 16;
        const int32_t wrong = isGray ? MFCMPX_ERROR_FORMAT : MFCMPX_ERROR_COLOR;
        EXPECT_EQ(Load(stream, kWidth - 1, kHeight, sample.depth).result, MFCMPX_ERROR_FORMAT);
        EXPECT_EQ(Load(stream, kWidth, kHeight + 1, sample.depth).result, MFCMPX_ERROR_FORMAT);
        EXPECT_EQ(Load(stream, kWidth, kHeight, 8).result, wrong) << sample.name;
        EXPECT_EQ(Load(stream, kWidth, kHeight, 32).result, MFCMPX_ERROR_FORMAT) << sample.name;
        EXPECT_EQ(Load(stream, kWidth, kHeight, 12).result, MFCMPX_ERROR_ARGUMENT);
    }
}

using Change = std::function<void(Bytes &)>;

/** Sets a byte behind a marker. */
Change Set(uint8_t marker, size_t offset, uint8_t value) {
    return [=](Bytes &stream) { stream[Behind(stream, marker) + offset] = value; };
}

/** Takes a marker's segment out. */
Change Without(uint8_t marker) {
    return [marker](Bytes &stream) {
        const size_t at = Behind(stream, marker);
        const size_t length = stream[at] * 256u + stream[at + 1];
        const auto first = stream.begin() + static_cast<ptrdiff_t>(at - 2);
        stream.erase(first, first + static_cast<ptrdiff_t>(length + 2));
    };
}

TEST(Hostile, HeadersThatLieAreRefused) {
    const std::vector<Sample> samples = Samples();
    const Sample &lossless = samples[0];
    const Sample &scans = samples[2];
    const Sample &twelve = samples[3];
    const Sample &eight = samples[4];
    const std::tuple<const char *, const Sample *, Change> cases[] = {
        {"too many codes of a length", &lossless, Set(0xC4, 3, 3)},
        {"more codes than bytes", &lossless, Set(0xC4, 18, 200)},
        {"a category beyond 16", &lossless, Set(0xC4, 19, 17)},
        {"no table", &lossless, Without(0xC4)},
        {"no table of the number", &lossless, Set(0xDA, 4, 0x30)},
        {"no predictor", &lossless, Set(0xDA, 5, 0)},
        {"predictor 8", &lossless, Set(0xDA, 5, 8)},
        {"a point transform of all bits", &lossless, Set(0xDA, 7, 12)},
        {"precision 17", &lossless, Set(0xC3, 2, 17)},
        {"precision 1", &lossless, Set(0xC3, 2, 1)},
        {"a component that is not there", &lossless, Set(0xDA, 3, 9)},
        {"no rows", &lossless, Set(0xC3, 4, 0)},
        {"arithmetic coding", &lossless, [](Bytes &s) { s[Behind(s, 0xC3) - 1] = 0xCB; }},
        {"a hierarchical frame", &lossless, [](Bytes &s) { s[Behind(s, 0xC3) - 1] = 0xC7; }},
        {"subsampling", &scans, Set(0xC3, 9, 0x21)},
        {"restarts within rows", &scans, Set(0xDD, 3, 5)},
        {"restarts out of order", &scans, [](Bytes &s) { s[Behind(s, 0xD0) - 1] = 0xD1; }},
        {"a scan again", &scans,
         [](Bytes &s) {
             const size_t second = Behind(Bytes(s.begin() + 200, s.end()), 0xDA) + 200;
             s[second + 3] = 1;
         }},
        {"no quantization table", &twelve, Without(0xDB)},
        {"a sampling factor of 0", &twelve, Set(0xC1, 9, 0x01)},
        {"12 bits in the baseline process", &twelve,
         [](Bytes &s) { s[Behind(s, 0xC1) - 1] = 0xC0; }},
        {"no quantization table of 8 bits", &eight, Without(0xDB)},
    };
    for (const auto &[what, sample, change] : cases) {
        Bytes changed = sample->stream;
        change(changed);
        EXPECT_EQ(Load(changed, kWidth, kHeight, sample->depth).result, MFCMPX_ERROR_FORMAT)
            << what;
    }
}

/** A progressive stream of 512 x 512 pixels; each scan names all blocks with two bytes. */
Bytes ManyScans(uint8_t precision, int scans) {
    Bytes stream{0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    stream.insert(stream.end(), 64, 1);
    // The one code of the AC table begins a run of up to 32767 blocks without coefficients.
    const Bytes headers{0xFF, 0xC2, 0,    11,   precision, 2, 0, 2, 0,    1,    1, 0x11, 0, //
                        0xFF, 0xC4, 0,    20,   0,         1, 0, 0, 0,    0,    0, 0,    0,  0,
                        0,    0,    0,    0,    0,         0, 0, 0, 0xFF, 0xC4, 0, 20,   16, 1,
                        0,    0,    0,    0,    0,         0, 0, 0, 0,    0,    0, 0,    0,  0,
                        0,    0xE0, 0xFF, 0xDA, 0,         8, 1, 1, 0,    0,    0, 0};
    stream.insert(stream.end(), headers.begin(), headers.end());
    stream.insert(stream.end(), 512, 0);
    const Bytes scan{0xFF, 0xDA, 0, 8, 1, 1, 0, 1, 63, 0, 0, 0};
    for (int i = 0; i < scans; ++i) stream.insert(stream.end(), scan.begin(), scan.end());
    return stream;
}

TEST(Hostile, ScansWithoutNumberEnd) {
    for (const uint8_t precision : {8, 12}) {
        const int depth = precision == 8 ? 8 : 16;
        const Loaded few = Load(ManyScans(precision, 100), 512, 512, depth);
        EXPECT_EQ(few.result, MFCMPX_SUCCESS);
        EXPECT_EQ(few.samples, Words(512 * 512, precision == 8 ? 128 : 2048));
        EXPECT_EQ(Load(ManyScans(precision, 100000), 512, 512, depth).result, MFCMPX_ERROR_FORMAT);
    }
}

} // namespace
