// Seekable archives: the preamble, marks, object and pointer records, their
// chains, promotion to wide records, and damaged input.
#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/archive/testing/graph_node.h"
#include "orvstd/archive/testing/sparse_streambuf.h"
#include "orvstd/archive/testing/stored_archive.h"
#include "orvstd/except/testing/thrown.h"

// A persistent node with one pointer, for object records.
class ccRecTestNode : public ccPersistent {
 public:
  c_Int32 value = 0;
  ccRecTestNode* link = nullptr;
  c_Int64 bodyGap = 0;  // storing: a hole of this many bytes in the body

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccRecTestNode), 0, [&](unsigned char v) { serialize_(ar, v); });
  }
  void serialize_(ccArchive& ar, unsigned char version) {
    cfCheckClassVersion(version, 0, "records_test", __LINE__);
    ccPersistent::dispatchSerialize(ar);
    ar || value;
    ar || bodyGap;
    if (bodyGap > 0) ar.seek(bodyGap, std::ios_base::cur);
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, link, out);
    if (ar.isLoading()) link = dynamic_cast<ccRecTestNode*>(out);
  }
};
static cc_Instantiator const recNodeInstantiator(typeid(ccRecTestNode), &cf_MakeNothrow<ccRecTestNode>);

namespace {

using Bytes = std::vector<unsigned char>;
using Pos = ccArchive::Pos;

// `n` bytes of `s` from `at`.
Bytes slice(std::string const& s, std::streamoff at, std::size_t n) {
  auto const* p = reinterpret_cast<unsigned char const*>(s.data()) + at;
  return Bytes(p, p + n);
}
Bytes const kZero4{0, 0, 0, 0};

ccArchive::Ordering orderingOf(bool msb) { return msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst; }

// The preamble of an empty seekable archive, hand-assembled.
Bytes preamble(bool msb) {
  Bytes b{0x03, static_cast<unsigned char>(msb ? 0 : 1)};
  Bytes mark{0x61, 0x13, 0x4D, 0x6B};
  mark.resize(26, 0);
  b.insert(b.end(), mark.begin(), mark.end());
  Bytes object{0x6F, 0x8B, 0x68, 0x44};
  object.resize(26, 0);
  object.push_back(0);  // layout
  Bytes size = msb ? Bytes{0, 0, 0, 45} : Bytes{45, 0, 0, 0};
  object.insert(object.end(), size.begin(), size.end());
  object.insert(object.end(), {0, 0, 0, 0});  // no pointer inside
  // Block version, flags, "$nt" substituted with bit 7 on the first
  // character, reserved word.
  object.insert(object.end(), {0, 0, 3, 0x22, 0x91, 0x37, 0x59, 0x22, 0, 0});
  b.insert(b.end(), object.begin(), object.end());
  Bytes pointer{0x4F, 0xE5, 0x70, 0x54};
  pointer.resize(18, 0);
  b.insert(b.end(), pointer.begin(), pointer.end());
  return b;
}

TEST(SeekablePreamble, ByteExactInBothOrderingsAndClosedAtTheEnd) {
  for (bool msb : {false, true}) {
    Bytes open = preamble(msb);
    open.insert(open.end(), {0xFF, 0xFF, 0xFF, 0xFF});
    std::string const bytes = storedBytes(ccMemoryArchive(orderingOf(msb), true));
    EXPECT_EQ(slice(bytes, 0, bytes.size()), open);
  }
  // The closed flag is written by the destructor: check it on a file.
  std::string const path = ::testing::TempDir() + "orvstd_closed_flag.bin";
  { ccFileArchive out(path, ccArchive::eStore, ccArchive::eLsbFirst, true); }
  {
    ccFileArchive in(path, ccArchive::eLoad, ccArchive::eLsbFirst, true, true);
    in.seek(Pos(91));
    c_Int32 flag = 7;
    in >> flag;
    EXPECT_EQ(flag, 0);
    EXPECT_THROW(in >> flag, ccArchive::Eof);
  }
  std::remove(path.c_str());
}

TEST(SeekablePreamble, SeekableBitMustMatch) {
  ccMemoryArchive plain(ccArchive::eLsbFirst, false);
  EXPECT_THROW(LoadArchive(ccMemoryArchive(ccArchive::eLsbFirst, true), false), ccArchive::BadType);
  EXPECT_THROW(LoadArchive(plain, true), ccArchive::BadType);
  EXPECT_THROW(plain.firstMarkNum(), ccArchive::NotSeekable);
  EXPECT_THROW(plain.mode(ccArchive::eLoad), ccArchive::NotSeekable);
}

TEST(Marks, WriteFindWalkRenumberRemove) {
  ccMemoryArchive ar(ccArchive::eMsbFirst, true);
  EXPECT_EQ(ar.writeNewMark(1), 1);
  ar << c_Int32{11};
  Pos const two = ar.tell();
  EXPECT_EQ(ar.writeNewMark(2), 2);
  ar << c_Int32{22};
  EXPECT_EQ(ar.writeNewMark(4), 4);
  ar << c_Int32{44};
  EXPECT_THROW(ar.writeNewMark(2), ccArchive::Duplicate);
  Pos const three = ar.tell();
  EXPECT_EQ(ar.writeNewMark(0), 3);  // the first free number from 1
  EXPECT_EQ(ar.writeNewMark(0), 5);

  EXPECT_EQ(ar.firstMarkNum(), 1);
  EXPECT_EQ(ar.lastMarkNum(), 5);
  EXPECT_EQ(ar.nextMarkNum(1), 2);
  EXPECT_EQ(ar.nextMarkNum(2), 3);
  EXPECT_EQ(ar.nextMarkNum(3), 4);
  EXPECT_EQ(ar.nextMarkNum(5), 0);
  EXPECT_EQ(ar.prevMarkNum(3), 2);
  EXPECT_EQ(ar.prevMarkNum(1), 0);
  EXPECT_EQ(ar.findMark(2), two);
  EXPECT_EQ(ar.findMark(3), three);

  Pos const here = ar.tell();
  EXPECT_EQ(ar.findMark(9), ccArchive::invalidPos());
  EXPECT_EQ(ar.tell(), here);

  // Renumbering in place and across the chain.
  ar.seek(two);
  EXPECT_EQ(ar.renumberMark(2), 2);
  EXPECT_EQ(ar.renumberMark(10), 10);
  EXPECT_EQ(ar.tell(), two);
  EXPECT_EQ(ar.nextMarkNum(1), 3);
  EXPECT_EQ(ar.lastMarkNum(), 10);
  EXPECT_EQ(ar.prevMarkNum(10), 5);

  ar.seek(three);
  ar.removeMark();
  EXPECT_EQ(ar.nextMarkNum(1), 4);
  EXPECT_EQ(ar.findMark(3), ccArchive::invalidPos());
  EXPECT_EQ(slice(storedBytes(ar), off(three), 4), kZero4);
  ar.seek(0, std::ios_base::end);

  // Read back through a loading archive.
  LoadArchive in(ar);
  EXPECT_EQ(markNumbers(in), (std::vector<c_Int32>{1, 4, 5, 10}));
  in.seek(in.findMark(4));
  c_Int32 num = 0, value = 0;
  in.readMark(num);
  EXPECT_EQ(num, 4);
  in.skipMark();
  in >> value;
  EXPECT_EQ(value, 44);
}

TEST(Marks, StartingNumberAndRanges) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ar.setStartingNum(100);
  EXPECT_EQ(ar.writeNewMark(0), 100);
  EXPECT_EQ(ar.writeNewMark(0), 101);
  EXPECT_DEATH(ar.setStartingNum(0), "assertion failed");
  EXPECT_DEATH(ar.findMark(0x7FFFFFFF), "assertion failed");
}

TEST(Objects, StoreListsAndLoadsWithSharedPointers) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode a, b;
  a.value = 1;
  b.value = 2;
  a.link = &b;
  b.link = &a;  // a cycle
  Pos const first = ar.tell();
  storePointer(ar, &a);
  storePointer(ar, &a);  // a second sight: a reference only
  EXPECT_TRUE(a.isBound());
  EXPECT_EQ(objectIDs(ar), (std::vector<c_Int32>{1, 2}));

  // Pointer records: magic, layout, id, flag.
  std::string const bytes = storedBytes(ar);
  EXPECT_EQ(slice(bytes, off(first), 10), (Bytes{0x4F, 0xE5, 0x70, 0x54, 0, 1, 0, 0, 0, 1}));
  Pos const aRecord = ar.findObject(1);
  ar.seek(aRecord);
  c_Int32 id = 0;
  c_UInt32 size = 0;
  Pos firstPointer;
  ar.readObjectHeader(id, size, firstPointer);
  EXPECT_EQ(id, 1);
  EXPECT_EQ(ar.objectTypeName(), "ccRecTestNode");
  EXPECT_EQ(off(aRecord), off(first) + 18);
  EXPECT_GT(off(firstPointer), off(aRecord));
  EXPECT_EQ(slice(bytes, off(firstPointer), 10), (Bytes{0x4F, 0xE5, 0x70, 0x54, 0, 2, 0, 0, 0, 1}));
  ar.seek(0, std::ios_base::end);

  LoadArchive in(ar);
  in.seek(first);
  auto* la = loadPointerAs<ccRecTestNode>(in);
  ASSERT_NE(la, nullptr);
  EXPECT_EQ(loadPointer(in), la);
  EXPECT_EQ(la->value, 1);
  ASSERT_NE(la->link, nullptr);
  EXPECT_EQ(la->link->value, 2);
  EXPECT_EQ(la->link->link, la);  // identity kept through the cycle
  delete la->link;
  delete la;
}

TEST(Objects, MutatingForgetsTheObjectAndEverythingReferringToIt) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode a, b;
  a.link = &b;
  storePointer(ar, &a);
  storePointer(ar, &a);  // known: no new record
  EXPECT_EQ(objectIDs(ar), (std::vector<c_Int32>{1, 2}));
  b = ccRecTestNode();  // assignment is a change
  EXPECT_FALSE(b.isBound());
  storePointer(ar, &a);
  EXPECT_EQ(objectIDs(ar), (std::vector<c_Int32>{1, 2, 3, 4}));  // a and b again, with new ids
}

TEST(Objects, AFailingStoreLeavesAZeroedRecordOutOfTheChain) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode ok, holder;
  storePointer(ar, &ok);
  holder.link = &ok;
  struct Thrower : public ccRecTestNode {
   protected:
    void dispatchSerialize(ccArchive&) override { throw ccInvariantFailure(); }
  } thrower;
  Pos const before = ar.tell();
  EXPECT_THROW(storePointer(ar, &thrower), ccInvariantFailure);
  EXPECT_EQ(ar.tell(), before);
  EXPECT_FALSE(thrower.isBound());
  EXPECT_EQ(slice(storedBytes(ar), off(before) + 18, 4), kZero4);
  EXPECT_EQ(objectIDs(ar), (std::vector<c_Int32>{1}));
  // The pointer chain no longer leads to the failed pointer record.
  storePointer(ar, &holder);
  ar.mode(ccArchive::eLoad);
  EXPECT_EQ(pointerPositions(ar).size(), 4u);  // ok, holder, holder's pointer to ok, ok's null link
}

// The position of the stored (substituted) type name of `name` in `bytes`.
std::size_t storedNameAt(std::string const& bytes, std::string name) {
  for (char& c : name) c = static_cast<char>(cc_ArchiveIO::substitute(static_cast<unsigned char>(c)));
  name[0] = static_cast<char>(name[0] | 0x80);
  return bytes.find(name);
}

TEST(Objects, UnknownTypeIsListedButNotLoaded) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode n;
  storePointer(ar, &n);
  std::string bytes = storedBytes(ar);
  // Change one character of the stored name.
  std::size_t const at = storedNameAt(bytes, "ccRecTestNode");
  ASSERT_NE(at, std::string::npos);
  bytes[at + 3] = static_cast<char>(cc_ArchiveIO::substitute('X'));
  LoadArchive in(bytes);
  EXPECT_EQ(in.firstObjectID(), 1);
  in.seek(in.findObject(1));
  EXPECT_EQ(in.objectTypeName(), "ccRXcTestNode");
  auto const e = thrownBy<ccArchive::UnknownType>([&] { delete in.loadObject(); });
  EXPECT_EQ(e.name(), "ccRXcTestNode");
  EXPECT_EQ(e.line(), 2136);
}

TEST(Pointers, RenumberAndRemove) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode n;
  Pos const p1 = ar.tell();
  storePointer(ar, nullptr);
  Pos const p2 = ar.tell();
  storePointer(ar, &n);  // flag 1, object 1 right behind
  Pos const end = ar.tell();
  ar.seek(p1);
  ar.pointerObjectID(1);  // object 1 is not behind p1
  ar.seek(p2);
  ar.pointerObjectID(1);
  ar.mode(ccArchive::eLoad);
  std::string const b = storedBytes(ar);
  EXPECT_EQ(b[off(p1) + 9], 0);
  EXPECT_EQ(b[off(p2) + 9], 1);
  ar.seek(p1);
  EXPECT_EQ(ar.pointerObjectID(), 1);
  ar.mode(ccArchive::eStore);
  ar.seek(p1);
  ar.removePointer();
  EXPECT_EQ(ar.firstPointerPos(), p2);
  ar.seek(end);
}

TEST(Objects, RemoveUnlinksAndRenumberedPointersGetTheirFlag) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode a, b;
  Pos const pa = ar.tell();
  storePointer(ar, &a);
  Pos const pb = ar.tell();
  storePointer(ar, &b);
  Pos const end = ar.tell();
  // Renumber b's pointer to a: another object (b) stands behind it and the
  // old flag was set, so the record behind must be skipped: flag 2.
  ar.seek(pb);
  ar.pointerObjectID(1);
  EXPECT_EQ(storedBytes(ar)[off(pb) + 9], 2);
  ar.seek(pb);
  ar.pointerObjectID(0);
  EXPECT_EQ(storedBytes(ar)[off(pb) + 9], 0);
  // Remove a's record: the chain goes straight to b's.
  ar.seek(ar.findObject(1));
  Pos const recordA = ar.tell();
  ar.removeObject();
  EXPECT_EQ(ar.firstObjectID(), 2);
  EXPECT_EQ(ar.findObject(1), ccArchive::invalidPos());
  EXPECT_EQ(slice(storedBytes(ar), off(recordA), 4), kZero4);
  ar.seek(end);
  ar.mode(ccArchive::eLoad);
  ar.seek(pa);
  EXPECT_EQ(ar.pointerObjectID(), 1);
}

TEST(Promotion, PointerGapAboveTwoGigabytes) {
  SparseArchive ar;
  Pos const p1 = ar.tell();
  storePointer(ar, nullptr);
  ar.seek(c_Int64{3} << 30, std::ios_base::cur);
  Pos const p2 = ar.tell();
  storePointer(ar, nullptr);
  Pos const p3 = ar.tell();
  storePointer(ar, nullptr);
  EXPECT_LT(ar.buffer().pagesHeld(), 8u);

  ar.mode(ccArchive::eLoad);
  auto read = [&](Pos p) {
    ar.seek(p);
    return cc_ArchiveIO::readPointer(ar);
  };
  // The promoted record's bytes: magic 55, layout 0, the wide next link.
  ar.seek(p1);
  char raw[18];
  ar.raw(raw, 18);
  c_UInt64 const gap = static_cast<c_UInt64>(off(p2) - off(p1));
  Bytes expectP1{0x4F, 0xE5, 0x70, 0x55, 0, 0, 0, 0, 0, 0};
  for (int i = 0; i < 8; ++i) expectP1.push_back(static_cast<unsigned char>(gap >> (8 * i)));
  EXPECT_EQ(Bytes(raw, raw + 18), expectP1);
  auto r1 = read(p1), r2 = read(p2), r3 = read(p3);
  EXPECT_TRUE(r1.magicWide);
  EXPECT_FALSE(r1.wideLayout);
  EXPECT_TRUE(r2.magicWide);
  EXPECT_TRUE(r2.wideLayout);
  EXPECT_FALSE(r3.magicWide);
  EXPECT_TRUE(r3.wideLayout);
  EXPECT_EQ(r1.next, p2);
  EXPECT_EQ(r2.next, p3);
  EXPECT_EQ(r1.prev, Pos(73));  // the head pointer, found through the next record
  EXPECT_EQ(r2.prev, p1);       // stored one link back, resolved
  EXPECT_EQ(r3.prev, p2);
  EXPECT_EQ(ar.firstPointerPos(), p1);
  // p1 holds a wide next link now, so p2 can go.
  ar.mode(ccArchive::eStore);
  ar.seek(p2);
  ar.removePointer();
  ar.mode(ccArchive::eLoad);
  EXPECT_EQ(read(p1).next, p3);
  EXPECT_EQ(read(p3).prev, p1);
}

TEST(Promotion, RemovingAPointerMayNotOpenANarrowGap) {
  SparseArchive ar;
  storePointer(ar, nullptr);
  Pos const p2 = ar.tell();
  storePointer(ar, nullptr);
  ar.seek(c_Int64{3} << 30, std::ios_base::cur);
  storePointer(ar, nullptr);  // promotes p2, p1 stays narrow
  ar.seek(p2);
  EXPECT_EQ(thrownBy<ccArchive::BadType>([&] { ar.removePointer(); }).message(false),
            "Cannot remove a pointer that would create a gap larger than 2GB");
}

TEST(Promotion, ObjectSizeAboveFourGigabytes) {
  SparseArchive ar(ccArchive::eMsbFirst);
  ccRecTestNode big, after;
  big.bodyGap = c_Int64{5} << 30;
  big.value = 9;
  storePointer(ar, &big);
  storePointer(ar, &after);
  ar.mode(ccArchive::eLoad);
  ar.seek(ar.findObject(1));
  c_Int32 id = 0;
  c_UInt64 size = 0;
  Pos firstPointer;
  ar.readObjectHeader64(id, size, firstPointer);
  EXPECT_EQ(id, 1);
  EXPECT_GT(size, c_UInt64{5} << 30);
  c_UInt32 narrow = 0;
  EXPECT_THROW(ar.readObjectHeader(id, narrow, firstPointer), ccArchive::BadType);
  cc_ArchiveIO::ObjectRecord const rec = cc_ArchiveIO::readObjectRecord(ar, true);
  EXPECT_TRUE(rec.promoted);
  EXPECT_FALSE(rec.wideLayout);
  ar.seek(ar.findObject(2));
  EXPECT_TRUE(cc_ArchiveIO::readObjectRecord(ar, true).wideLayout);  // written after the promotion

  // The promoted object loads back, its pointer found through the moved offset.
  ar.seek(Pos(95));
  ccRecTestNode const* node = loadPointerAs<ccRecTestNode>(ar);  // the archive's known object
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->value, 9);
}

// A 32-bit field as it stands in a file of the given ordering.
Bytes field32(c_UInt32 v, bool msb) {
  Bytes b{static_cast<unsigned char>(v >> 24), static_cast<unsigned char>(v >> 16),
          static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
  if (!msb) std::reverse(b.begin(), b.end());
  return b;
}

TEST(RecordBytes, MarkObjectAndPointerRecordsInBothOrderings) {
  for (bool msb : {true, false}) {
    ccMemoryArchive ar(orderingOf(msb), true);
    ar.setStartingID(0x01020304);
    ar.writeNewMark(7);
    ccAssertFailure object;
    storePointer(ar, &object);
    std::string const b = storedBytes(ar);
    Bytes expected;
    auto add = [&](Bytes const& part) { expected.insert(expected.end(), part.begin(), part.end()); };
    // mark 7: no next; previous is the head mark at 2, 93 bytes back
    add({0x61, 0x13, 0x4D, 0x6B, 0});
    add(field32(7, msb));
    add(kZero4);
    add(field32(static_cast<c_UInt32>(-93), msb));
    add(kZero4);
    add(field32(0xFFFFFFFF, msb));
    add({0});
    // pointer: layout 0, id, flag 1, next 0, previous: the head pointer at 73, 48 back
    add({0x4F, 0xE5, 0x70, 0x54, 0});
    add(field32(0x01020304, msb));
    add({1});
    add(kZero4);
    add(field32(static_cast<c_UInt32>(-48), msb));
    // object record: id, no next, previous the head object at 28 (111 back)
    add({0x6F, 0x8B, 0x68, 0x44, 0});
    add(field32(0x01020304, msb));
    add(kZero4);
    add(field32(static_cast<c_UInt32>(-111), msb));
    add(kZero4);
    add(field32(0xFFFFFFFF, msb));
    add({0});
    // layout 0, size 64, no pointer inside, type block
    add({0});
    add(field32(64, msb));
    add(kZero4);
    add({0, 0, 15, 0x22});
    std::string name = "ccAssertFailure";
    for (std::size_t i = 0; i < name.size(); ++i) {
      unsigned char c = cc_ArchiveIO::substitute(static_cast<unsigned char>(name[i]));
      expected.push_back(i == 0 ? c | 0x80 : c);
    }
    add({0x22, 0, 0});
    add({0, 0, 0, 0, 0, 0x22, 0x22});  // body: four versions, an empty text
    EXPECT_EQ(slice(b, 95, b.size() - 95), expected) << (msb ? "msb" : "lsb");
    // The head object now links forward to it, and the head pointer too.
    EXPECT_EQ(slice(b, 28 + 9, 4), field32(0x6F, msb));
    EXPECT_EQ(slice(b, 73 + 10, 4), field32(0x30, msb));
  }
}

TEST(RecordBytes, TheSubstitutionIsSelfInverseWithSixteenFixedPoints) {
  int fixed = 0;
  for (int c = 0; c < 128; ++c) {
    unsigned char const s = cc_ArchiveIO::substitute(static_cast<unsigned char>(c));
    EXPECT_LT(s, 128);
    EXPECT_EQ(cc_ArchiveIO::substitute(s), c);
    fixed += s == c;
  }
  EXPECT_EQ(fixed, 16);
  // Frozen: these values are in every file ever written.
  EXPECT_EQ(cc_ArchiveIO::substitute('c'), 0x77);
  EXPECT_EQ(cc_ArchiveIO::substitute('$'), 0x11);
}

TEST(SeekableStream, ModeKeepsThePositionAndReserveSkips) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  Pos const at = ar.tell();
  ar.reserveU32();
  ar << c_Int32{42};
  Pos const end = ar.tell();
  ar.seek(at);
  ar << c_Int32{41};
  ar.mode(ccArchive::eLoad);
  EXPECT_EQ(ar.tell(), at + std::streamoff(4));
  c_Int32 v = 0;
  ar >> v;
  EXPECT_EQ(v, 42);
  ar.seek(at);
  ar >> v;
  EXPECT_EQ(v, 41);
  ar.mode(ccArchive::eStore);
  ar.seek(end);
  ar << c_Int32{43};
  ar.mode(ccArchive::eLoad);
  ar.seek(end);
  ar >> v;
  EXPECT_EQ(v, 43);
  EXPECT_DEATH(ar.reserve8(), "assertion failed");  // loading
}

TEST(SeekableStream, AppendContinuesNumbersAndChains) {
  std::string const path = ::testing::TempDir() + "orvstd_append.arc";
  {
    ccFileArchive out(path, ccArchive::eStore, ccArchive::eLsbFirst, true);
    out.writeNewMark(1);
    ccAssertFailure a("first");
    storePointer(out, &a);
  }
  {
    ccFileArchive more(path, ccArchive::eLoad, ccArchive::eLsbFirst, true, false);
    more.append();
    EXPECT_TRUE(more.isStoring());
    EXPECT_EQ(more.writeNewMark(0), 2);
    ccAssertFailure b("second");
    storePointer(more, &b);
  }
  ccFileArchive in(path, ccArchive::eLoad, ccArchive::eLsbFirst, true, true);
  EXPECT_EQ(in.lastMarkNum(), 2);
  EXPECT_EQ(in.nextObjectID(1), 2);
  std::vector<std::string> texts;
  for (Pos p : pointerPositions(in)) {
    in.seek(p);
    std::unique_ptr<ccException> e(loadPointerAs<ccException>(in));
    texts.push_back(e->message(false));
  }
  EXPECT_EQ(texts, (std::vector<std::string>{"first", "second"}));
  std::remove(path.c_str());
}

// Runs `body` on a thread with a stack of `stackBytes`, the way a caller's
// worker thread would, and hands back what it reported.
std::string onThreadWithStack(std::size_t stackBytes, std::function<std::string()> body) {
  struct Job {
    std::function<std::string()> body;
    std::string outcome;
  } job{std::move(body), ""};
  auto run = [](void* p) -> void* {
    auto* j = static_cast<Job*>(p);
    try {
      j->outcome = j->body();
    } catch (ccArchive::BadContent const& e) {
      j->outcome = "BadContent " + std::to_string(e.line());
    }
    return nullptr;
  };
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, stackBytes);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attr, run, &job), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
  return job.outcome;
}

// A chain of nodes, each written inside its parent's body.
std::vector<ccRecTestNode> chainOf(int depth) {
  std::vector<ccRecTestNode> nodes(static_cast<std::size_t>(depth));
  for (int i = 0; i + 1 < depth; ++i) nodes[i].link = &nodes[i + 1];
  for (int i = 0; i < depth; ++i) nodes[i].value = i;
  return nodes;
}

// Frees a loaded chain and tells the values it held, in order.
std::vector<c_Int32> freeChain(ccPersistent* loaded) {
  std::vector<c_Int32> values;
  for (auto* n = dynamic_cast<ccRecTestNode*>(loaded); n != nullptr;) {
    values.push_back(n->value);
    ccRecTestNode* next = n->link;
    delete n;
    n = next;
  }
  return values;
}

TEST(DamagedInput, NestingDeeperThanTheStackIsRefused) {
  std::vector<ccRecTestNode> nodes = chainOf(1500);
  ccMemoryArchive ar(ccArchive::eLsbFirst, false);
  storePointer(ar, &nodes[0]);
  // Loaded on a thread with a small stack: a typed error, not an overflow.
  std::string const outcome = onThreadWithStack(512 * 1024, [&] {
    LoadArchive in(ar, false);
    loadPointer(in);
    return std::string("loaded");
  });
  EXPECT_EQ(outcome, "BadContent 2226");
}

TEST(Objects, StoringAGraphDeeperThanTheStackIsRefusedAndLeavesTheArchiveUsable) {
  std::vector<ccRecTestNode> nodes = chainOf(1500);
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  std::string const outcome = onThreadWithStack(512 * 1024, [&] {
    storePointer(ar, &nodes[0]);
    return std::string("stored");
  });
  EXPECT_EQ(outcome, "BadContent 2227");
  // Nothing of the failed chain is left in the object chain, and the
  // archive takes the next graph as if nothing had happened.
  EXPECT_EQ(ar.firstObjectID(), 0);
  std::vector<ccRecTestNode> small = chainOf(3);
  storePointer(ar, &small[0]);
  LoadArchive in(ar);
  EXPECT_EQ(objectIDs(in).size(), 3u);
  EXPECT_EQ(freeChain(loadPointer(in)), (std::vector<c_Int32>{0, 1, 2}));
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSanitizerStackScale = 4;  // instrumented frames are several times larger
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t kSanitizerStackScale = 4;
#else
constexpr std::size_t kSanitizerStackScale = 1;
#endif
#else
constexpr std::size_t kSanitizerStackScale = 1;
#endif

TEST(Objects, ChainsThousandsDeepStoreAndLoadOnAnOrdinaryStack) {
  // 8 MB is the usual default stack of a thread and of main; one level
  // takes about 1 KB in an optimised build.
  constexpr int kDepth = 5000;
  std::vector<ccRecTestNode> nodes = chainOf(kDepth);
  for (bool seekable : {false, true}) {
    std::string const outcome = onThreadWithStack((8 << 20) * kSanitizerStackScale, [&] {
      ccMemoryArchive ar(ccArchive::eMsbFirst, seekable);
      storePointer(ar, &nodes[0]);
      LoadArchive in(ar, seekable);
      std::vector<c_Int32> const values = freeChain(loadPointer(in));
      for (std::size_t depth = 0; depth < values.size(); ++depth)
        if (values[depth] != static_cast<c_Int32>(depth))
          return "value " + std::to_string(values[depth]) + " at depth " + std::to_string(depth);
      return "depth " + std::to_string(values.size());
    });
    EXPECT_EQ(outcome, "depth " + std::to_string(kDepth)) << (seekable ? "seekable" : "plain");
  }
}

// A seekable archive with marks 1 and 2 and a node.
std::string marksAndANode() {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ar.writeNewMark(1);
  ar.writeNewMark(2);
  ccRecTestNode n;
  storePointer(ar, &n);
  return storedBytes(ar);
}

TEST(DamagedInput, TruncatedAndLoopingArchivesRaiseTypedErrors) {
  std::string const good = marksAndANode();
  for (std::size_t cut = 0; cut < good.size(); cut += 7) {
    try {
      LoadArchive in(good.substr(0, cut));
      markNumbers(in);
      objectIDs(in);
    } catch (ccArchive::Errors const&) {
    }
  }
  // Mark 2's next link points back at mark 1: a loop.
  std::string looped = good;
  LoadArchive probe(good);
  std::streamoff const m1 = off(probe.findMark(1)), m2 = off(probe.findMark(2));
  patch(looped, m2 + 9, static_cast<c_Int32>(m1 - m2));
  patch(looped, m2 + 17, c_Int32{-1});  // the high half of a negative link
  LoadArchive in(looped);
  EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
}

// Links and numbers no writer gives, in the mark record behind the head.
TEST(DamagedInput, ImpossibleMarkFieldsAreBadContent) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  Pos const mark = ar.tell();
  ar.writeNewMark(1);
  std::string const good = storedBytes(ar);
  {
    // Next link 0x7FFFFFFFFFFFFFF0: the record's start plus it leaves every position.
    std::string bytes = good;
    patch(bytes, off(mark) + 9, c_UInt32{0xFFFFFFF0u});
    patch(bytes, off(mark) + 17, c_UInt32{0x7FFFFFFFu});
    LoadArchive in(bytes);
    EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
    EXPECT_THROW(in.nextMarkNum(1), ccArchive::BadContent);
  }
  {
    // Above every mark number and object id. Listed, it could only be
    // handed back to nextMarkNum, which refuses it.
    std::string bytes = good;
    patch(bytes, off(mark) + 5, c_Int32{0x7FFFFFFF});
    LoadArchive in(bytes);
    EXPECT_THROW(in.firstMarkNum(), ccArchive::BadContent);
    EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
  }
}

TEST(DamagedInput, APointerToAnObjectWhoseLoadFailedIsNotFound) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode a;
  Pos const first = ar.tell();
  storePointer(ar, &a);
  storePointer(ar, &a);  // a reference to the same object
  std::string bytes = storedBytes(ar);
  // The first byte of the body, the node's class version, says 1.
  std::size_t const name = storedNameAt(bytes, "ccRecTestNode");
  ASSERT_NE(name, std::string::npos);
  bytes[name + std::strlen("ccRecTestNode") + 3] = 1;  // after the closing quote and the reserved word

  LoadArchive in(bytes);
  in.seek(first);
  EXPECT_THROW(loadPointer(in), ccArchive::UnknownVersion);
  // The half-made object belongs to the archive, which frees it: never hand it out.
  ccPersistent* p = nullptr;
  EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::NotFound);
  EXPECT_EQ(p, nullptr);
}

TEST(DamagedInput, ObjectsLoadedUnderAFailedObjectFailWithIt) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccArchiveTestNode a, b;
  a.left = &b;
  b.left = &a;  // a cycle back to the object that will fail
  Pos const first = ar.tell();
  storePointer(ar, &a);
  storePointer(ar, &b);  // a reference to b
  // Pointer records in stream order: a, a.left, b.left, b.right, a.right, b.
  ar.mode(ccArchive::eLoad);
  std::vector<Pos> const pointers = pointerPositions(ar);
  ASSERT_EQ(pointers.size(), 6u);
  std::string bytes = storedBytes(ar);
  patch(bytes, off(pointers[4]), c_Int32{0});  // a.right: a fails after b has loaded
  {
    LoadArchive in(bytes);
    in.seek(first);
    EXPECT_THROW(loadPointer(in), ccArchive::BadContent);
    EXPECT_EQ(in.tell(), pointers[5]);
    // b loaded, but points back at a, which the archive frees.
    EXPECT_THROW(loadPointer(in), ccArchive::NotFound);
    EXPECT_EQ(ccArchiveTestNode::live().size(), 4u);  // a and b here, their copies in the archive
  }
  // Nothing loaded is left behind without an owner.
  EXPECT_EQ(ccArchiveTestNode::live().size(), 2u);
}

TEST(DamagedInput, APointerIdNoRecordCanHaveIsNotFound) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  Pos const at = ar.tell();
  storePointer(ar, nullptr);
  for (c_Int32 id : {-5, 0x7FFFFFFF}) {
    std::string bytes = storedBytes(ar);
    patch(bytes, off(at) + 5, id);  // flag 0: the object is elsewhere
    LoadArchive in(bytes);
    in.seek(at);
    EXPECT_THROW(loadPointer(in), ccArchive::NotFound) << id;
  }
}

// Where the size field of the object record behind a pointer stands.
std::streamoff recordSizeAt(Pos pointer, bool wide) {
  return off(pointer) + (wide ? cc_ArchiveIO::kWidePointerSize : cc_ArchiveIO::kNarrowPointerSize) + 27;
}

TEST(DamagedInput, AnObjectWhoseRecordSizeRunsPastTheEndIsNotLeaked) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccArchiveTestNode n;
  n.value = 3;
  Pos const at = ar.tell();
  storePointer(ar, &n);
  std::string bytes = storedBytes(ar);
  // The narrow size, 1000 bytes too large.
  c_UInt32 size = 0;
  std::memcpy(&size, &bytes[recordSizeAt(at, false)], 4);
  patch(bytes, recordSizeAt(at, false), size + 1000);
  std::size_t const before = ccArchiveTestNode::live().size();
  {
    LoadArchive in(bytes);
    in.seek(at);
    EXPECT_THROW(loadPointer(in), ccArchive::BadBuffer);
    in.seek(in.findObject(1));
    EXPECT_THROW(in.loadObject(), ccArchive::Duplicate);  // known, and the archive's
  }
  EXPECT_EQ(ccArchiveTestNode::live().size(), before);  // freed with the archive
}

TEST(DamagedInput, AWideRecordSizeBeyondTheLargestPositionIsBadContent) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  cc_ArchiveIO::rep(ar).wide = true;  // records in the wide layout from here on
  ccRecTestNode n;
  Pos const at = ar.tell();
  storePointer(ar, &n);
  std::string bytes = storedBytes(ar);
  ASSERT_EQ(bytes[recordSizeAt(at, true) - 1], 1);  // the layout byte
  patch(bytes, recordSizeAt(at, true), c_UInt64{0x7FFFFFFFFFFFFFFFull});  // the record's start plus it overflows
  LoadArchive in(bytes);
  in.seek(at);
  EXPECT_THROW(loadPointer(in), ccArchive::BadContent);
}

}  // namespace
