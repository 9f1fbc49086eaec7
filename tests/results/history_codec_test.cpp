// Receiver histories as bytes between processes: the number coding by hand, every field back bit
// for bit, and cut or damaged bytes refused.
#include "results/history_codec.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

using namespace tn;

namespace {

// Bytes of put_varint and put_signed, worked out by hand: 7 bits a byte, low bits first, the high
// bit set on all but the last byte; signed values zigzag-coded (0, -1, 1, -2 ... as 0, 1, 2, 3 ...).
TEST(HistoryCodec, NumberBytesByHand) {
    struct Case {
        std::int64_t value;
        bool is_signed;
        std::string bytes;
    };
    const Case cases[] = {
        {0, false, std::string(1, '\0')},
        {127, false, "\x7f"},
        {128, false, "\x80\x01"},
        {300, false, "\xac\x02"},
        {-1, true, "\x01"},
        {1, true, "\x02"},
        {-999, true, "\xcd\x0f"},          // zigzag 1997 = 0x7cd
        {INT64_MIN, true, "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"},
    };
    for (const Case& c : cases) {
        std::string out;
        if (c.is_signed) put_signed(out, c.value);
        else put_varint(out, static_cast<std::uint64_t>(c.value));
        EXPECT_EQ(out, c.bytes) << c.value;
        std::size_t pos = 0;
        std::int64_t back = 0;
        std::uint64_t uback = 0;
        const bool ok = c.is_signed ? get_signed(out, pos, back) : get_varint(out, pos, uback);
        ASSERT_TRUE(ok) << c.value;
        if (!c.is_signed) back = static_cast<std::int64_t>(uback);
        EXPECT_EQ(back, c.value);
        EXPECT_EQ(pos, out.size());
    }
    std::size_t pos = 0;
    std::uint64_t v = 0;
    EXPECT_FALSE(get_varint("\x80\x80", pos, v));   // cut inside a number
    pos = 0;
    EXPECT_FALSE(get_varint("\xff\xff\xff\xff\xff\xff\xff\xff\xff\x02", pos, v));   // 65 bits
}

ReceiverHistory sample(int npts) {
    ReceiverHistory h;
    h.head.Siteidx = 1234567;
    h.head.Name = "0012 0034  inner blanks";
    h.head.x = 512345.6f;
    h.head.y = -0.0f;
    h.head.z = 1.219215f;
    h.head.Utmzone = 11;
    h.head.lat = HUGE_VAL;
    h.head.lon = -117.123456789012345;
    h.head.user_x = std::numeric_limits<float>::quiet_NaN();
    h.head.user_y = std::numeric_limits<float>::denorm_min();
    h.head.date = {2015, 5, 15};
    for (int c = 0; c < kRowColumns; ++c) h.head.Ambrow[c] = c % 3 == 0 ? kMissingTenths : 100 * c;
    h.computed = true;
    h.points.resize(static_cast<std::size_t>(npts));
    for (int n = 0; n < npts; ++n) {
        HistoryPoint& p = h.points[static_cast<std::size_t>(n)];
        p.t = 10.0f + 0.5f * static_cast<float>(n);
        p.in_range = n % 7 != 3;
        for (int c = 0; c < kRowColumns; ++c) p.Outrow[c] = c < 9 ? kMissingTenths : 600 + 3 * n - 2 * c;
        p.M = n - 20;
    }
    return h;
}

// Every field of `b` as `a` has it, bit for bit: their codings, which keep floats by their bits, are
// the same bytes (a field that the coding left out altogether is for the whole-run comparisons of
// tests/mpi to find). The name also by its padded form.
void expect_same(const ReceiverHistory& a, const ReceiverHistory& b) {
    std::string x, y;
    encode_history(a, x), encode_history(b, y);
    EXPECT_EQ(x, y);
    EXPECT_EQ(a.head.Name.padded(), b.head.Name.padded());
}

TEST(HistoryCodec, EveryFieldComesBackBitForBit) {
    ReceiverHistory computed = sample(300);
    // The extremes of the columns: no upper limit on a level, the most negative integer of a level
    // beyond the machine's range, a not-a-number arrival time.
    computed.points[5].Outrow[0] = INT_MAX;
    computed.points[6].Outrow[0] = INT_MIN;
    computed.points[7].t = std::numeric_limits<float>::quiet_NaN();
    ReceiverHistory passed = sample(0);
    passed.computed = false;
    passed.head.Name = "";

    std::string bytes;
    encode_history(computed, bytes);
    const std::size_t one = bytes.size();
    encode_history(passed, bytes);
    encode_history(computed, bytes);

    ReceiverHistory back;   // reused, as the receiving process does
    std::size_t pos = 0;
    ASSERT_TRUE(decode_history(bytes, pos, back));
    expect_same(computed, back);
    ASSERT_TRUE(decode_history(bytes, pos, back));
    expect_same(passed, back);
    ASSERT_TRUE(decode_history(bytes, pos, back));
    expect_same(computed, back);
    EXPECT_EQ(pos, bytes.size());
    // Neighbouring points differ by a few tenths: well under the 148 bytes of a point in memory.
    EXPECT_LT(one, 300u * 48u);
}

TEST(HistoryCodec, CutOrDamagedBytesAreRefused) {
    std::string bytes;
    encode_history(sample(3), bytes);
    ReceiverHistory back;
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
        std::size_t pos = 0;
        EXPECT_FALSE(decode_history(std::string_view(bytes).substr(0, cut), pos, back)) << cut;
    }
    // A name longer than a site name has room for.
    std::string longname;
    put_signed(longname, 1);
    put_varint(longname, 65);
    longname += std::string(65, 'x');
    std::size_t pos = 0;
    EXPECT_FALSE(decode_history(longname, pos, back));
}

}  // namespace
