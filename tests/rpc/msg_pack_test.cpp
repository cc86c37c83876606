#include <gtest/gtest.h>
#include "rpc_fixture.h"

TEST(CInterfacePack, EveryTagIsByteExactAndReadsBack)
{
    CITest i(nullptr, nullptr, kClientId);
    i.SetSequence(41);
    i.InitPack(13, 7, false);
    const uint8_t header[24] = {1, 0, 0, 13, 5, 0, 0, 0, 0, 0, 0, 0, 42, 0, 4, 0, 7, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(0, std::memcmp(header, i.Msg(), 24));

    char c = 'A';
    bool b = true;
    short s = -2;
    long l = -3;
    double d = 1.5;
    long long x = -4;
    CCur cur = CCur::FromRaw(0x0102030405060708LL);
    CDate date = CDate::FromTicks(9);
    CStr str(L"h\u00E9\uFFFF\U0001F600");   // the last one loses its high bits
    const uint8_t block[3] = {9, 8, 7};
    i.Pack(c), i.Pack(b), i.Pack(s), i.Pack(l), i.Pack(d), i.Pack(x), i.Pack(cur), i.Pack(date), i.Pack(str);
    i.Pack(&c), i.Pack(&b), i.Pack(&s), i.Pack(&l), i.Pack(&d), i.Pack(&x), i.Pack(&cur), i.Pack(&date), i.Pack(&str);
    i.Pack(static_cast<long*>(nullptr)), i.Pack(block, 3), i.EndPack();

    const auto values = Bytes(0x41, 1, 0xFE, 0xFF, 0xFD, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F,
                               0xFC, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 8, 7, 6, 5, 4, 3, 2, 1, 9, 0, 0, 0, 0, 0, 0, 0,
                               4, 0, 'h', 0, 0xE9, 0, 0xFF, 0xFF, 0x00, 0xF6);
    const int widths[9] = {1, 1, 2, 4, 8, 8, 8, 8, 10};
    std::vector<uint8_t> want;
    for (int pass = 0; pass < 2; ++pass) {   // values under tags 0 2 4 6 8 20 10 12 14, then by pointer
        const uint8_t tags[9] = {0, 2, 4, 6, 8, 20, 10, 12, 14};
        size_t at = 0;
        for (int k = 0; k < 9; ++k) {
            want.push_back(tags[k] + pass);
            want.insert(want.end(), values.begin() + at, values.begin() + at + widths[k]);
            at += widths[k];
        }
    }
    for (int v : {18, 16, 3, 0, 9, 8, 7, 19})
        want.push_back(static_cast<uint8_t>(v));
    EXPECT_EQ(want, Data(*i.Msg()));
    EXPECT_EQ(20, i.GetParCount());

    char c2 = 0;
    bool b2 = false;
    short s2 = 0;
    long l2 = 0, untouched = 99;
    double d2 = 0;
    long long x2 = 0;
    CCur cur2;
    CDate date2;
    CStr str2("old text");
    uint8_t block2[3] = {};
    i.SetReadPos(0);
    i.Unpack(c2), i.Unpack(b2), i.Unpack(s2), i.Unpack(l2), i.Unpack(d2), i.Unpack(x2), i.Unpack(cur2), i.Unpack(date2), i.Unpack(str2);
    EXPECT_EQ(4, str2.Length());
    EXPECT_EQ(0xFFFF, str2.Char(3));   // units are unsigned
    EXPECT_EQ(0xF600, str2.Char(4));
    EXPECT_TRUE(c2 == c && b2 && s2 == s && l2 == l && d2 == d && x2 == x && cur2 == cur && date2 == date);
    EXPECT_EQ(&c2, i.Unpack(&c2));
    EXPECT_EQ(nullptr, i.Unpack(static_cast<bool*>(nullptr)));   // skipped
    i.Unpack(&s2), i.Unpack(&l2), i.Unpack(&d2), i.Unpack(&x2), i.Unpack(&cur2), i.Unpack(&date2);
    EXPECT_EQ(&str2, i.Unpack(&str2));
    EXPECT_EQ(nullptr, i.Unpack(&untouched));
    EXPECT_EQ(99, untouched);
    EXPECT_EQ(block2, i.Unpack(block2, 3));
    i.EndUnpack();
    EXPECT_EQ(7, block2[2]);
}

TEST(CInterfacePack, RoomChecksThrowBeforeWriting)
{
    CITest i(nullptr, nullptr, kClientId);
    auto fill = [&](int n) {   // n data bytes of longs and one char or short
        i.InitPack(13, 7, false);
        for (int k = 0; k < (n - 2) / 5; ++k)
            i.Pack(static_cast<long>(k));
        if ((n - 2) % 5 == 1)
            i.Pack(static_cast<short>(1));
        else
            i.Pack('z');
        return static_cast<int>(i.Msg()->h.length);
    };
    ASSERT_EQ(2048, fill(2048));
    EXPECT_EQ(-9, Code([&] { i.Pack('x'); }));
    EXPECT_EQ(-9, Code([&] { i.Pack(static_cast<long*>(nullptr)); }));
    EXPECT_EQ(2048, i.Msg()->h.length);

    ASSERT_EQ(2047, fill(2047));
    char c = 0;
    EXPECT_EQ(-9, Code([&] { i.Pack(&c); }));
    i.Pack(static_cast<CStr*>(nullptr));
    EXPECT_EQ(2048, i.Msg()->h.length);
    EXPECT_EQ(TAG_NULL, i.Msg()->data[2047]);

    CStr fits, over;
    fits.Replicate(1000, L'a');
    over.Replicate(1023, L'a');
    i.InitPack(13, 7, false);
    EXPECT_EQ(-9, Code([&] { i.Pack(over); }));
    EXPECT_EQ(0, i.Msg()->h.length);
    i.Pack(fits);
    EXPECT_EQ(2003, i.Msg()->h.length);
    EXPECT_EQ(-9, Code([&] { i.Pack("", -1); }));
}

TEST(CInterfaceUnpack, ReadableAreaEndsOneByteEarly)
{
    CITest i(nullptr, nullptr, kClientId);
    uint8_t* data = i.Msg()->data;
    long v = 0, kept = 5;
    auto at = [&](int pos, std::initializer_list<int> bytes) {
        std::copy(bytes.begin(), bytes.end(), data + pos);
        i.SetReadPos(static_cast<short>(pos));
    };
    at(2042, {TAG_LONG, 1, 0, 0, 0});
    EXPECT_EQ(0, Code([&] { i.Unpack(v); }));
    EXPECT_EQ(1, v);
    at(2043, {TAG_LONG, 1, 0, 0, 0});   // last value byte at 2047: packable, not readable
    EXPECT_EQ(-10, Code([&] { i.Unpack(v); }));
    at(2043, {TAG_PLONG, 1, 0, 0, 0});
    EXPECT_EQ(-10, Code([&] { i.Unpack(&v); }));
    at(2046, {TAG_NULL});
    EXPECT_EQ(nullptr, i.Unpack(&kept));
    EXPECT_EQ(5, kept);
    at(2047, {TAG_NULL});
    EXPECT_EQ(-10, Code([&] { i.Unpack(&kept); }));
    at(2043, {TAG_STR, 1, 0, 'q', 0});   // a string may end on the last byte
    CStr s;
    EXPECT_EQ(0, Code([&] { i.Unpack(s); }));
    EXPECT_EQ(L'q', s.Char(1));
    at(100, {TAG_STR, 0xE8, 0x03});   // 1000 units from offset 103
    EXPECT_EQ(-10, Code([&] { i.Unpack(s); }));
    at(0, {TAG_LONG, 1, 0, 0, 0});
    short sh = 0;
    EXPECT_EQ(-11, Code([&] { i.Unpack(sh); }));
    i.SetReadPos(0);
    EXPECT_EQ(-11, Code([&] { i.Unpack(&v); }));
    at(0, {TAG_BLOCK, 4, 0, 1, 2, 3, 4});
    uint8_t small[3];
    EXPECT_EQ(-10, Code([&] { i.Unpack(small, 3); }));
    i.SetReadPos(0);
    EXPECT_TRUE(i.IfType(TAG_BLOCK, 2));
    EXPECT_FALSE(i.IfType(TAG_LONG, 4));
    i.SetReadPos(2046);
    EXPECT_FALSE(i.IfType(data[2046], 1));
}

TEST(CInterfaceUnpack, ParCountWalksWithinTheData)
{
    CITest i(nullptr, nullptr, kClientId);
    TIMsg& m = *i.Msg();
    auto count = [&](std::initializer_list<int> bytes, int length = -1) {
        std::copy(bytes.begin(), bytes.end(), m.data);
        m.h.length = static_cast<uint16_t>(length < 0 ? bytes.size() : length);
        return i.GetParCount();
    };
    EXPECT_EQ(-1, count({}));
    EXPECT_EQ(0, count({TAG_END}));
    EXPECT_EQ(-1, count({TAG_LONG, 1, 0, 0, 0}));
    EXPECT_EQ(3, count({TAG_NULL, TAG_STR, 1, 0, 'a', 0, TAG_RESERVED, 1, 0, 7, TAG_END}));
    EXPECT_EQ(-1, count({TAG_STR, 9, 0, 'a', 0, TAG_END}));   // the count runs past the end
    EXPECT_EQ(-1, count({TAG_PSTR}));
    std::fill(m.data, m.data + kMsgDataSize, TAG_NULL);
    m.h.length = 0xFFFF;   // a hostile length: the walk still stops at the buffer's end
    EXPECT_EQ(-1, i.GetParCount());
}

TEST(CClientInterfaceInitUnpack, ChecksRunInOrder)
{
    CITest i(nullptr, nullptr, kClientId);
    i.SetSequence(65535);
    i.InitPack(17, 7, false);
    EXPECT_EQ(0, i.Msg()->h.sequence);   // wraps
    const TIMsg request = *i.Msg();
    auto check = [&](std::function<void(TIMsgHeader&)> spoil) {
        *i.Msg() = ReplyTo(request);
        spoil(i.Msg()->h);
        i.SetReadPos(9);
        return Code([&] { i.InitUnpack(); });
    };
    EXPECT_EQ(-1, check([](TIMsgHeader& h) { h.kind = 2, h.version = 1; }));
    EXPECT_EQ(-2, check([](TIMsgHeader& h) { h.version = 1, h.type = 5; }));
    EXPECT_EQ(-3, check([](TIMsgHeader& h) { h.type = 5, h.function = 18; }));
    EXPECT_EQ(-4, check([](TIMsgHeader& h) { h.function = 18, h.object = 8; }));
    EXPECT_EQ(-7, check([](TIMsgHeader& h) { h.object = 8, h.sequence = 3; }));
    EXPECT_EQ(-8, check([](TIMsgHeader& h) { h.sequence = 3, h.result = 5; }));
    EXPECT_EQ(5, check([](TIMsgHeader& h) { h.result = 5, h.source = 1; }));
    EXPECT_EQ(-23, check([](TIMsgHeader& h) { h.result = -23; }));
    EXPECT_EQ(-5, check([](TIMsgHeader& h) { h.source = 1, h.destination = 6; }));
    EXPECT_EQ(-6, check([](TIMsgHeader& h) { h.destination = 6; }));
    EXPECT_EQ(0, check([](TIMsgHeader&) {}));
    EXPECT_EQ(0, i.ReadPos());
    i.SetDestID(kClientId + 1);   // calling out to a client: the reply comes from it
    EXPECT_EQ(-5, check([](TIMsgHeader&) {}));
}
