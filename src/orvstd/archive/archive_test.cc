#include "orvstd/archive/archive.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "orvstd/archive/registry.h"
#include "orvstd/archive/testing/stored_archive.h"
#include "orvstd/except/testing/thrown.h"
#include "orvstd/util/devenv.h"

// A user's own persistent class, registered from outside the library.
template <class T>
class ccTestBox : public ccPersistent {};
static ccPersistent* makeBox() { return new ccTestBox<c_UInt32>; }
static cc_Instantiator const boxInstantiator(typeid(ccTestBox<c_UInt32>), &makeBox);

namespace {

using Bytes = std::vector<unsigned char>;

Bytes bytesOf(ccMemoryArchive const& ar) {
  auto const* p = reinterpret_cast<unsigned char const*>(ar.storage());
  return Bytes(p, p + ar.size());
}

// Stores with `fill` into a plain archive of the given ordering.
template <class Fill>
Bytes store(ccArchive::Ordering ordering, Fill fill) {
  ccMemoryArchive ar(ordering, false);
  fill(ar);
  return bytesOf(ar);
}

LoadArchive loader(Bytes const& b) { return LoadArchive(std::string(b.begin(), b.end()), false); }

// The first T stored in the plain archive `b`.
template <class T>
T loadFrom(Bytes const& b) {
  auto ar = loader(b);
  T v{};
  ar >> v;
  return v;
}

TEST(ArchiveHead, PlainEmptyArchiveIsTwoBytes) {
  EXPECT_EQ(store(ccArchive::eLsbFirst, [](ccArchive&) {}), (Bytes{0x02, 0x01}));
  EXPECT_EQ(store(ccArchive::eMsbFirst, [](ccArchive&) {}), (Bytes{0x02, 0x00}));
}

TEST(ArchiveHead, BadHeadsRaiseTypedErrors) {
  auto open = [](Bytes const& b) { loader(b); };
  EXPECT_THROW(open({0x03, 0x01}), ccArchive::BadType);                // seekable bit on a plain load
  EXPECT_THROW(open({0x04, 0x01}), ccArchive::UnknownArchiveVersion);  // version 2
  EXPECT_THROW(open({0x02, 0x02}), ccArchive::BadBuffer);              // ordering 2
  EXPECT_THROW(open({0x02}), ccArchive::Eof);
  EXPECT_THROW(open({}), ccArchive::Eof);
  EXPECT_NO_THROW(open({0x00, 0x00}));  // version 0 is still read
}

TEST(ArchivePrimitives, ByteExactInBothOrderings) {
  auto fill = [](ccArchive& ar) {
    ar << static_cast<unsigned char>(0xAB) << static_cast<c_Int16>(0x0102) << static_cast<c_UInt32>(0x01020304)
       << static_cast<c_Int64>(0x0102030405060708LL) << 1.0f << -2.0 << true;
  };
  EXPECT_EQ(store(ccArchive::eMsbFirst, fill),
            (Bytes{0x02, 0x00, 0xAB, 0x01, 0x02, 0x01, 0x02, 0x03, 0x04, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                   0x08, 0x3F, 0x80, 0x00, 0x00, 0xC0, 0x00, 0, 0, 0, 0, 0, 0, 0x01}));
  EXPECT_EQ(store(ccArchive::eLsbFirst, fill),
            (Bytes{0x02, 0x01, 0xAB, 0x02, 0x01, 0x04, 0x03, 0x02, 0x01, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02,
                   0x01, 0x00, 0x00, 0x80, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xC0, 0x01}));
}

TEST(ArchivePrimitives, MsbFirstFileReadsBackOnThisHost) {
  for (auto order : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
    Bytes b = store(order, [](ccArchive& ar) {
      ar << c_Int32{-5} << c_UInt16{65535} << 3.25 << c_UInt64{0xFEDCBA9876543210ULL} << std::string("ok");
    });
    auto ar = loader(b);
    EXPECT_EQ(ar.ordering(), order);
    c_Int32 i;
    c_UInt16 u;
    double d;
    c_UInt64 q;
    std::string s;
    ar >> i >> u >> d >> q >> s;
    EXPECT_EQ(i, -5);
    EXPECT_EQ(u, 65535);
    EXPECT_EQ(d, 3.25);
    EXPECT_EQ(q, 0xFEDCBA9876543210ULL);
    EXPECT_EQ(s, "ok");
  }
}

TEST(ArchivePrimitives, BoolReadsAnyNonZeroAsTrue) {
  auto ar = loader({0x02, 0x01, 0x00, 0x07});
  bool a = true, b = false;
  ar >> a >> b;
  EXPECT_FALSE(a);
  EXPECT_TRUE(b);
  EXPECT_THROW(ar >> a, ccArchive::Eof);
}

TEST(ArchiveStrings, LengthPrefixBoundaries) {
  for (std::size_t n : {0u, 1u, 127u, 128u, 255u, 256u, 32767u}) {
    std::string s(n, 'q');
    Bytes b = store(ccArchive::eLsbFirst, [&](ccArchive& ar) { ar << s; });
    SCOPED_TRACE(n);
    std::size_t const prefix = n < 128 ? 1 : 2;
    ASSERT_EQ(b.size(), 2 + prefix + 2 + n);
    if (n < 128) {
      EXPECT_EQ(b[2], n);
    } else {
      EXPECT_EQ(b[2], 0x80 | (n >> 8));
      EXPECT_EQ(b[3], n & 0xFF);
    }
    EXPECT_EQ(b[2 + prefix], 0x22);
    EXPECT_EQ(b.back(), 0x22);
    EXPECT_EQ(loadFrom<std::string>(b), s);
  }
}

TEST(ArchiveStringsDeathTest, OverlongStringAsserts) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, false);
  EXPECT_DEATH(ar << std::string(32768, 'x'), "assertion failed");
}

TEST(ArchiveStrings, WideBytesAndCrossReading) {
  std::u16string w = u"A\u00e9\u4e2d";
  Bytes b = store(ccArchive::eMsbFirst, [&](ccArchive& ar) { ar << w; });
  // Never swapped by the ordering: units in the writer's memory order.
  EXPECT_EQ(b, (Bytes{0x02, 0x00, 0x03, 0xFF, 0xFE, 0x41, 0x00, 0xE9, 0x00, 0x2D, 0x4E, 0xFF, 0xFE}));
  EXPECT_EQ(loadFrom<std::u16string>(b), w);
  EXPECT_EQ(loadFrom<std::string>(b), std::string("A\xE9?"));  // a narrow reader of a wide body
  Bytes n = store(ccArchive::eLsbFirst, [](ccArchive& ar) { ar << std::string("hi\xFF"); });
  EXPECT_EQ(loadFrom<std::u16string>(n), u"hi\u00ff");  // a wide reader of a narrow body
  // A body written by a most-significant-first host: marks FE FF.
  EXPECT_EQ(loadFrom<std::u16string>({0x02, 0x00, 0x02, 0xFE, 0xFF, 0x00, 0x41, 0x4E, 0x2D, 0xFE, 0xFF}), u"A\u4e2d");
}

TEST(ArchiveStrings, WcharTextOutsideSixteenBitsUsesSurrogates) {
  std::wstring w = L"x\U0001F600";
  Bytes b = store(ccArchive::eLsbFirst, [&](ccArchive& ar) { ar << w; });
  EXPECT_EQ(b, (Bytes{0x02, 0x01, 0x03, 0xFF, 0xFE, 0x78, 0x00, 0x3D, 0xD8, 0x00, 0xDE, 0xFF, 0xFE}));
  EXPECT_EQ(loadFrom<std::wstring>(b), w);
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  wchar_t big = static_cast<wchar_t>(0x1F600);
  EXPECT_THROW(out << big, ccBadUnicodeChar);
}

TEST(ArchiveStrings, BadMarksAndShortBodies) {
  auto readNarrow = [](Bytes const& b) { loadFrom<std::string>(b); };
  auto readWide = [](Bytes const& b) { loadFrom<std::u16string>(b); };
  EXPECT_EQ(thrownBy<ccArchive::BadType>([&] { readNarrow({0x02, 0x01, 0x01, 0x22, 'a', 0x23}); }).line(),
            305);  // closing quote
  EXPECT_THROW(readNarrow({0x02, 0x01, 0x01, 0x41, 0x42, 'a'}), ccArchive::BadType);   // neither mark
  EXPECT_THROW(readWide({0x02, 0x01, 0x01, 0x41, 0x42, 'a'}), ccArchive::BadType);
  EXPECT_THROW(readWide({0x02, 0x01, 0x01, 0xFF, 0xFE, 'a', 0, 0xFE, 0xFF}), ccArchive::BadType);  // marks differ
  EXPECT_THROW(readNarrow({0x02, 0x01, 0x05, 0x22, 'a'}), ccArchive::BadBuffer);
  EXPECT_THROW(readNarrow({0x02, 0x01, 0x85}), ccArchive::BadBuffer);
}

TEST(ArchiveStrings, ThirtyTwoBitUnits) {
  std::u32string s = U"ab\U0001F600";
  Bytes lsb = store(ccArchive::eLsbFirst, [&](ccArchive& ar) { ar << s; });
  Bytes expectLsb{0x02, 0x01, 0, 0, 0, 3, 0xFF, 0xFE, 0, 0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0x00, 0xF6, 0x01, 0x00,
                  0xFF, 0xFE, 0, 0};
  EXPECT_EQ(lsb, expectLsb);
  for (auto order : {ccArchive::eLsbFirst, ccArchive::eMsbFirst})
    EXPECT_EQ(loadFrom<std::u32string>(store(order, [&](ccArchive& a) { a << s; })), s) << order;
  // A hostile length with no body behind it: a typed error, no huge allocation.
  auto bad = loader({0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 'a', 0, 0, 0});
  std::u32string back;
  EXPECT_THROW(bad >> back, ccArchive::BadBuffer);
  auto badMark = loader({0x02, 0x01, 0, 0, 0, 0, 0x12, 0x34, 0, 0});
  EXPECT_THROW(badMark >> back, ccArchive::BadType);
}

TEST(ArchiveRaw, NeverSwappedAndTypedShortRead) {
  char data[3] = {1, 2, 3};
  Bytes b = store(ccArchive::eMsbFirst, [&](ccArchive& ar) { ar.raw(data, 3); });
  EXPECT_EQ(b, (Bytes{0x02, 0x00, 1, 2, 3}));
  auto ar = loader(b);
  char back[4];
  EXPECT_THROW(ar.raw(back, 4), ccArchive::Eof);
}

TEST(FileArchive, RoundTripAndOpenFailure) {
  std::string const path = ::testing::TempDir() + "orvstd_file_archive_test.bin";
  {
    ccFileArchive out(path, ccArchive::eStore, ccArchive::eMsbFirst);
    for (c_Int32 i = 0; i < 100000; ++i) out << i;
    out << std::string("end");
  }
  {
    ccFileArchive in(path, ccArchive::eLoad, ccArchive::eLsbFirst, false, true);
    EXPECT_EQ(in.ordering(), ccArchive::eMsbFirst);
    c_Int32 v = 0;
    for (c_Int32 i = 0; i < 100000; ++i) {
      in >> v;
      ASSERT_EQ(v, i);
    }
    std::string s;
    in >> s;
    EXPECT_EQ(s, "end");
    EXPECT_THROW(in >> v, ccArchive::Eof);
  }
  std::remove(path.c_str());
  auto open = [&] { ccFileArchive(path + ".none", ccArchive::eLoad, ccArchive::eLsbFirst, false, true); };
  EXPECT_EQ(thrownBy<ccArchive::BadFile>(open).message(false), "Could not open file: " + path + ".none");
}

TEST(Registry, EveryNameIsUniqueCanonicalAndFindsItsClass) {
  auto entries = cf_RegisteredTypes();
  ASSERT_GT(entries.size(), 10u);
  std::set<std::string> seen;
  for (auto const& e : entries) {
    std::string const& name = cf_CanonicalTypeName(*e.type);
    EXPECT_TRUE(seen.insert(name).second) << "duplicate " << name;
    EXPECT_EQ(ccDevEnv::canonicalTypeName(name.c_str()), name) << "not canonical";
    EXPECT_EQ(name.find("class "), std::string::npos);
    EXPECT_EQ(cf_LookupType(ccDevEnv::nativeTypeName(name)), e.make) << name;
    ccPersistent* made = e.make();
    ASSERT_NE(made, nullptr) << name;
    EXPECT_EQ(typeid(*made), *e.type) << name;
    delete made;
  }
  EXPECT_TRUE(seen.count("ccTestBox<unsigned long>"));
  EXPECT_TRUE(seen.count("ccArchive::UnknownType"));
  EXPECT_EQ(cf_LookupType("class ccTestBox<unsigned long>"), &makeBox);
  EXPECT_EQ(cf_LookupType("class ccNoSuchThing"), nullptr);
}

TEST(Persistent, AssignmentClearsBoundButCopyNeverCarriesIt) {
  ccTestBox<c_UInt32> a, b;
  EXPECT_FALSE(a.isBound());
  a = b;
  EXPECT_FALSE(a.isBound());
  ccTestBox<c_UInt32> c(a);
  EXPECT_FALSE(c.isBound());
}

}  // namespace
