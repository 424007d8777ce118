// The seed corpus of archive_fuzzer (testdata/fuzz_corpus): each seed is
// built here, checked to read back as meant, and compared with the file
// kept in the tree. After a deliberate format change, rewrite the files:
//
//   ORVSTD_WRITE_FUZZ_CORPUS=1 build/default/src/orvstd/archive/archive_test --gtest_filter='FuzzCorpus.*'
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/archive/testing/fuzz_input.h"
#include "orvstd/archive/testing/graph_node.h"
#include "orvstd/archive/testing/stored_archive.h"

namespace {

using Pos = ccArchive::Pos;

// Writes what the fuzzer's embedded read of kind k expects.
void writeEmbedded(ccArchive& ar, int k) {
  auto put = [&](auto e) { ar << e; };
  switch (k % kFuzzEmbeddedTypes) {
    case 0: return put(ccArchive::Eof("archive", 729));
    case 1: return put(ccArchive::UnknownType("ccSpline<long>", "archutil", 2136));
    case 2: return put(ccAssertFailure(std::string("seed")));
    case 3: {
      ccArchiveTestNode inner, outer;
      inner.value = 7;
      outer.value = 3;
      outer.label = "embedded";
      outer.left = &inner;
      inner.right = &outer;
      ar || outer;  // nodes are not copyable, as << would need
      return;
    }
    default: return put(ccBoard::BadParams("no board", 5));
  }
}

// Writes what the fuzzer's mixed read of the given kind expects.
void writeOne(ccArchive& ar, int kind, int embeddedStart) {
  switch (kind % kFuzzKinds) {
    case 0: ar << static_cast<unsigned char>(0xA5); break;
    case 1: ar << true; break;
    case 2: ar << c_Int16{-2}; break;
    case 3: ar << c_UInt16{0xFEFF}; break;
    case 4: ar << c_Int32{-70000}; break;
    case 5: ar << c_UInt32{0x80000001u}; break;
    case 6: ar << 1.5f; break;
    case 7: ar << c_Int64{-1}; break;
    case 8: ar << c_UInt64{0x0102030405060708ull}; break;
    case 9: ar << -0.25; break;
    case 10: ar << static_cast<wchar_t>(0x4E2D); break;
    case 11: ar << u'\u00e9'; break;
    case 12: ar << std::string("narrow"); break;
    case 13: ar << std::u16string(u"wide \u4e2d"); break;
    case 14: ar << std::wstring(L"pair \U0001F600"); break;
    case 15: ar << std::u32string(U"units \U0001F600"); break;
    case 16: {
      ccArchive::NotFound e("archutil", 1986);
      storePointer(ar, &e);
      break;
    }
    case 17: writeEmbedded(ar, embeddedStart + kind); break;
    default: {
      char raw[3] = {'r', 'a', 'w'};
      ar.raw(raw, 3);
      break;
    }
  }
}

// A node graph with a cycle, a shared node, a self link, a null and a
// pointer to an object of another class.
void writeGraph(ccArchive& ar) {
  ccArchiveTestNode a, b, c;
  a.value = 1;
  a.label = "a";
  a.left = &b;
  a.right = &c;
  b.value = 2;
  b.left = &a;
  c.value = 3;
  c.right = &c;
  ccArchive::NotFound notFound("archutil", 1980);
  storePointer(ar, &a);
  storePointer(ar, &b);  // known: a reference only
  storePointer(ar, nullptr);
  storePointer(ar, &notFound);
}

std::string archiveOf(ccArchive::Ordering ordering, bool seekable, std::function<void(ccArchive&)> const& fill) {
  ccMemoryArchive ar(ordering, seekable);
  fill(ar);
  return storedBytes(ar);
}
std::string plainOf(ccArchive::Ordering o, std::function<void(ccArchive&)> const& f) { return archiveOf(o, false, f); }
std::string seekableOf(ccArchive::Ordering o, std::function<void(ccArchive&)> const& f) { return archiveOf(o, true, f); }

// Three wide nodes in a cycle, with the pointer records in the forms that
// promotion leaves behind: the head record promoted in place (its wide next
// link in its eight link bytes), the first pointer after it carrying the
// head's own previous link, and one record with its previous link stored
// one record too far back. The writer makes these only across gaps above
// 2 GB; they are written small here by patching the bytes it leaves.
struct WideSeed {
  std::string bytes;
  Pos head, p1, p2;
  Pos p2Prev;  // the record before p2 on the chain
};

WideSeed wideSeed() {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  cc_ArchiveIO::rep(ar).wide = true;  // every later record in the wide layout
  WideSeed w;
  w.p1 = ar.tell();
  ccArchiveTestNode a, b;
  a.value = 10;
  a.left = &b;
  b.value = 20;
  b.left = &a;
  storePointer(ar, &a);
  w.p2 = ar.tell();
  storePointer(ar, &b);
  storePointer(ar, nullptr);
  w.bytes = storedBytes(ar);
  ar.mode(ccArchive::eLoad);
  ar.seek(w.p1);
  w.head = cc_ArchiveIO::readPointer(ar).prev;
  ar.seek(w.p2);
  w.p2Prev = cc_ArchiveIO::readPointer(ar).prev;
  ar.seek(w.p2Prev);
  Pos const oneTooFar = cc_ArchiveIO::readPointer(ar).prev;
  // Narrow next 22 and previous 0 read the same as one wide next link of 22.
  w.bytes[off(w.head) + 3] = 0x55;
  w.bytes[off(w.p1) + 3] = 0x55;
  patch(w.bytes, off(w.p1) + 18, c_UInt64{0});
  w.bytes[off(w.p2) + 3] = 0x55;
  patch(w.bytes, off(w.p2) + 18, static_cast<c_UInt64>(off(oneTooFar) - off(w.p2)));
  return w;
}

// A node whose object record was promoted in place: wide size in the
// narrow fields, its pointer offset in eight bytes at the record's end.
struct PromotedSeed {
  std::string bytes;
  Pos pointer, record;
  c_UInt64 size;
};

PromotedSeed promotedSeed() {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccArchiveTestNode n, other;
  n.value = 42;
  n.label = "promoted";
  n.right = &other;
  PromotedSeed s;
  s.pointer = ar.tell();
  storePointer(ar, &n);
  s.bytes = storedBytes(ar);
  // The node's record runs to the end: the last record of every chain.
  s.record = Pos(off(s.pointer) + cc_ArchiveIO::kNarrowPointerSize);
  std::size_t const r = static_cast<std::size_t>(off(s.record));
  c_UInt32 size32 = 0;
  c_Int32 offset32 = 0;
  std::memcpy(&size32, &s.bytes[r + 27], 4);
  std::memcpy(&offset32, &s.bytes[r + 31], 4);
  EXPECT_EQ(r + size32, s.bytes.size());
  s.size = c_UInt64{size32} + 8;
  s.bytes[r + 3] = 0x45;
  patch(s.bytes, r + 27, s.size);
  s.bytes.append(8, '\0');
  patch(s.bytes, r + size32, static_cast<c_Int64>(offset32));
  return s;
}

struct Seed {
  char const* name;
  unsigned char control;
  std::string archive;
};

constexpr unsigned char kFix = kFuzzFixHead;
constexpr unsigned char embeddedFrom(int k) { return static_cast<unsigned char>(k << kFuzzEmbeddedShift); }

std::vector<Seed> allSeeds() {
  auto const lsb = ccArchive::eLsbFirst;
  auto const msb = ccArchive::eMsbFirst;
  std::vector<Seed> seeds;
  auto add = [&](char const* name, unsigned char control, std::string archive) {
    seeds.push_back(Seed{name, control, std::move(archive)});
  };
  add("plain_empty", kFix | kFuzzPointers, plainOf(lsb, [](ccArchive&) {}));
  add("plain_empty_msb", kFix | kFuzzMixed, plainOf(msb, [](ccArchive&) {}));
  add("seekable_empty", kFix | kFuzzPointers, seekableOf(lsb, [](ccArchive&) {}));
  add("seekable_empty_msb", kFix | kFuzzMixed | kFuzzFreeEarly, seekableOf(msb, [](ccArchive&) {}));
  add("plain_mixed", kFix | kFuzzMixed, plainOf(lsb, [](ccArchive& ar) {
        for (int s = 0; s < 2 * kFuzzKinds; ++s) writeOne(ar, s, 0);
      }));
  add("plain_mixed_reversed_msb", kFix | kFuzzMixedReversed | embeddedFrom(1), plainOf(msb, [](ccArchive& ar) {
        for (int s = 0; s < kFuzzKinds; ++s) writeOne(ar, fuzzReversedKind(s), 1);
      }));
  add("plain_narrow_strings", kFix | kFuzzNarrow, plainOf(lsb, [](ccArchive& ar) {
        ar << std::string() << std::string("a") << std::string(127, 'x') << std::string(128, 'y')
           << std::string("\xFF\x80 high") << std::u16string(u"wide body \u4e2d");
      }));
  add("plain_u16_strings", kFix | kFuzzU16, plainOf(lsb, [](ccArchive& ar) {
        ar << std::u16string() << std::u16string(u"A\u00e9\u4e2d") << std::string("narrow body")
           << std::u16string(200, u'\u0101');
        // As written by a host of the other byte order: marks FE FF.
        char swapped[] = {2, '\xFE', '\xFF', 0, 'A', 0x4E, 0x2D, '\xFE', '\xFF'};
        ar.raw(swapped, sizeof swapped);
      }));
  add("plain_wide_strings_msb", kFix | kFuzzWide, plainOf(msb, [](ccArchive& ar) {
        ar << std::wstring(L"x\U0001F600") << std::wstring{static_cast<wchar_t>(0xD800), L'z'} << std::wstring();
      }));
  add("plain_u32_strings_msb", kFix | kFuzzU32, plainOf(msb, [](ccArchive& ar) {
        ar << std::u32string() << std::u32string(U"ab\U0001F600") << std::u32string(300, U'\u4e2d');
      }));
  add("plain_pointers", kFix | kFuzzPointers | kFuzzGiveOwnership, plainOf(lsb, writeGraph));
  add("plain_embedded", kFix | kFuzzEmbedded, plainOf(lsb, [](ccArchive& ar) {
        for (int k = 0; k < kFuzzEmbeddedTypes; ++k) writeEmbedded(ar, k);
      }));
  add("seekable_marks", kFix | kFuzzMixed, seekableOf(lsb, [](ccArchive& ar) {
        ar.writeNewMark(1);
        ar << std::string("one") << c_Int32{1};
        ar.writeNewMark(2);
        ar << std::u16string(u"two") << std::u32string(U"2");
        ar.writeNewMark(4);
        ar << std::wstring(L"four") << 4.0;
        Pos const three = ar.tell();
        ar.writeNewMark(3);  // between 2 and 4 on the chain
        ar << c_Int16{3};
        Pos const nine = ar.tell();
        ar.writeNewMark(9);
        ar << std::string("seven");
        ar.seek(nine);
        ar.renumberMark(7);
        ar.seek(three);
        ar.removeMark();
        ar.seek(0, std::ios_base::end);
      }));
  add("seekable_objects", kFix | kFuzzPointers | kFuzzFreeEarly, seekableOf(lsb, [](ccArchive& ar) {
        writeGraph(ar);
        ccArchiveTestNode standalone, gone;
        standalone.value = 5;
        c_Int32 const id = ar.storeObject(&standalone);
        Pos const removed = ar.tell();
        ar.storeObject(&gone);
        ar.seek(removed);
        ar.removeObject();
        ar.seek(0, std::ios_base::end);
        // A null pointer turned into a reference to an object stored apart.
        Pos const pointer = ar.tell();
        storePointer(ar, nullptr);
        ar.seek(pointer);
        ar.pointerObjectID(id);
        ar.seek(0, std::ios_base::end);
      }));
  add("seekable_embedded", kFix | kFuzzEmbedded, seekableOf(lsb, [](ccArchive& ar) {
        for (int k = 0; k < kFuzzEmbeddedTypes; ++k) writeEmbedded(ar, k);
      }));
  add("seekable_mixed_msb", kFix | kFuzzMixed | embeddedFrom(2), seekableOf(msb, [](ccArchive& ar) {
        for (int s = 0; s < kFuzzKinds; ++s) writeOne(ar, s, 2);
      }));
  add("seekable_wide_pointers", kFix | kFuzzPointers, wideSeed().bytes);
  add("seekable_promoted_object", kFix | kFuzzPointers | embeddedFrom(3), promotedSeed().bytes);
  return seeds;
}

std::string corpusDir() { return std::string(ORVSTD_TEST_DATA) + "/fuzz_corpus/"; }

std::string fileOf(Seed const& s) { return static_cast<char>(s.control) + s.archive; }

Seed seedNamed(std::string const& name) {
  for (Seed& s : allSeeds())
    if (s.name == name) return s;
  ADD_FAILURE() << "no seed " << name;
  return Seed{"", 0, "\x02\x01"};
}

TEST(FuzzCorpus, EverySeedOpensWithItsLoaderAndMatchesItsFile) {
  bool const write = std::getenv("ORVSTD_WRITE_FUZZ_CORPUS") != nullptr;
  for (Seed const& s : allSeeds()) {
    SCOPED_TRACE(s.name);
    ASSERT_GE(s.archive.size(), 2u);
    bool const seekable = (s.archive[0] & 1) != 0;
    EXPECT_NO_THROW(LoadArchive(s.archive, seekable));
    std::string const path = corpusDir() + s.name;
    if (write) {
      std::ofstream(path, std::ios::binary) << fileOf(s);
    }
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << path << " is missing";
    std::string const kept((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(kept, fileOf(s)) << path << " is stale";
  }
}

// Loads the pointers of writeGraph from the current position and checks them.
void expectGraphAt(ccArchive& in) {
  auto* a = loadPointerAs<ccArchiveTestNode>(in);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->value, 1);
  EXPECT_EQ(a->label, "a");
  auto* b = dynamic_cast<ccArchiveTestNode*>(a->left);
  auto* c = dynamic_cast<ccArchiveTestNode*>(a->right);
  ASSERT_NE(b, nullptr);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(b->left, a);
  EXPECT_EQ(c->right, c);
  EXPECT_EQ(loadPointer(in), b);
  EXPECT_EQ(loadPointer(in), nullptr);
  std::unique_ptr<ccArchive::NotFound> notFound(loadPointerAs<ccArchive::NotFound>(in));
  ASSERT_NE(notFound, nullptr);
  EXPECT_EQ(notFound->line(), 1980);
}

TEST(FuzzCorpus, GraphSeedsLoadBack) {
  {
    LoadArchive in(seedNamed("plain_pointers").archive, false);
    expectGraphAt(in);
  }
  ccArchiveTestNode::deleteAllNodes();
  {
    LoadArchive in(seedNamed("seekable_objects").archive);
    expectGraphAt(in);
    // The last pointer, renumbered, reaches the node stored apart.
    std::vector<Pos> const pointers = pointerPositions(in);
    ASSERT_FALSE(pointers.empty());
    in.seek(pointers.back());
    auto* standalone = loadPointerAs<ccArchiveTestNode>(in);
    ASSERT_NE(standalone, nullptr);
    EXPECT_EQ(standalone->value, 5);
    EXPECT_EQ(objectIDs(in), (std::vector<c_Int32>{1, 2, 3, 4, 5}));  // a, b, c, the exception, standalone
  }
  ccArchiveTestNode::deleteAllNodes();
}

TEST(FuzzCorpus, MarkSeedListsItsMarks) {
  LoadArchive in(seedNamed("seekable_marks").archive);
  EXPECT_EQ(markNumbers(in), (std::vector<c_Int32>{1, 2, 4, 7}));
  in.seek(in.findMark(7));
  in.skipMark();
  std::string seven;
  in >> seven;
  EXPECT_EQ(seven, "seven");
}

TEST(FuzzCorpus, PromotedPointerFormsReadBackSmall) {
  WideSeed const w = wideSeed();
  {
    LoadArchive in(w.bytes);
    auto read = [&](Pos p) {
      in.seek(p);
      return cc_ArchiveIO::readPointer(in);
    };
    cc_ArchiveIO::PointerRecord const head = read(w.head), p1 = read(w.p1), p2 = read(w.p2);
    EXPECT_TRUE(head.magicWide);
    EXPECT_FALSE(head.wideLayout);
    EXPECT_EQ(head.next, w.p1);
    EXPECT_EQ(head.prev, ccArchive::invalidPos());  // found through p1
    EXPECT_TRUE(p1.magicWide && p1.wideLayout);
    EXPECT_EQ(p1.prev, w.head);  // no stored link: the chain's head
    EXPECT_TRUE(p2.magicWide && p2.wideLayout);
    EXPECT_NE(w.p2Prev, w.p1);  // a's body holds pointers too
    EXPECT_EQ(p2.prev, w.p2Prev);  // stored one record too far back, resolved
    EXPECT_EQ(in.firstPointerPos(), w.p1);
    in.seek(w.p1);
    auto* a = loadPointerAs<ccArchiveTestNode>(in);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->value, 10);
    auto* b = dynamic_cast<ccArchiveTestNode*>(a->left);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->value, 20);
    EXPECT_EQ(b->left, a);
  }
  ccArchiveTestNode::deleteAllNodes();
}

TEST(FuzzCorpus, PromotedObjectRecordReadsBackSmall) {
  PromotedSeed const s = promotedSeed();
  {
    LoadArchive in(s.bytes);
    in.seek(s.record);
    cc_ArchiveIO::ObjectRecord const r = cc_ArchiveIO::readObjectRecord(in, true);
    EXPECT_TRUE(r.promoted);
    EXPECT_FALSE(r.wideLayout);
    EXPECT_EQ(r.size, s.size);
    ASSERT_TRUE(ccArchive::isValid(r.pointerPos));
    in.seek(r.pointerPos);
    EXPECT_EQ(in.pointerObjectID(), 0);  // the left link, null
    in.seek(s.pointer);
    auto* n = loadPointerAs<ccArchiveTestNode>(in);
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(n->value, 42);
    EXPECT_EQ(n->label, "promoted");
    ASSERT_NE(n->right, nullptr);
    EXPECT_EQ(in.tell(), Pos(static_cast<std::streamoff>(s.bytes.size())));  // past the moved offset
  }
  ccArchiveTestNode::deleteAllNodes();
}

}  // namespace
