// Seekable archives: the preamble, marks, object and pointer records, their
// chains, promotion to wide records, and damaged input.
#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_io.h"
#include "orvstd/archive/testing/graph_node.h"
#include "orvstd/archive/testing/sparse_streambuf.h"

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

Bytes bytesOf(ccMemoryArchive const& ar) {
  auto const* p = reinterpret_cast<unsigned char const*>(ar.storage());
  return Bytes(p, p + ar.size());
}

std::streamoff off(Pos p) { return std::streamoff(p); }

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
    ccMemoryArchive* ar = new ccMemoryArchive(msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst, true);
    Bytes open = preamble(msb);
    open.insert(open.end(), {0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(bytesOf(*ar), open);
    // The buffer outlives the archive object only through a copy.
    std::string copy(ar->storage(), ar->size());
    delete ar;
    (void)copy;
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
  ccMemoryArchive out(ccArchive::eLsbFirst, true);
  EXPECT_THROW(ccMemoryArchive(out.storage(), static_cast<c_Int32>(out.size()), false, false), ccArchive::BadType);
  ccMemoryArchive plain(ccArchive::eLsbFirst, false);
  EXPECT_THROW(ccMemoryArchive(plain.storage(), static_cast<c_Int32>(plain.size()), true, false),
               ccArchive::BadType);
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
  Bytes b = bytesOf(ar);
  EXPECT_EQ(Bytes(b.begin() + off(three), b.begin() + off(three) + 4), (Bytes{0, 0, 0, 0}));
  ar.seek(0, std::ios_base::end);

  // Read back through a loading archive.
  ccMemoryArchive in(ar.storage(), static_cast<c_Int32>(ar.size()), true, false);
  std::vector<c_Int32> numbers;
  for (c_Int32 n = in.firstMarkNum(); n != 0; n = in.nextMarkNum(n)) numbers.push_back(n);
  EXPECT_EQ(numbers, (std::vector<c_Int32>{1, 4, 5, 10}));
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
  ccPersistent* out = nullptr;
  Pos const first = ar.tell();
  ccPersistent::serializePointer(ar, &a, out);
  ccPersistent::serializePointer(ar, &a, out);  // a second sight: a reference only
  EXPECT_TRUE(a.isBound());
  EXPECT_EQ(ar.firstObjectID(), 1);
  EXPECT_EQ(ar.nextObjectID(1), 2);
  EXPECT_EQ(ar.nextObjectID(2), 0);

  Bytes bytes = bytesOf(ar);
  // Pointer records: magic, layout, id, flag.
  auto pointerAt = [&](std::streamoff at) { return Bytes(bytes.begin() + at, bytes.begin() + at + 10); };
  EXPECT_EQ(pointerAt(off(first)), (Bytes{0x4F, 0xE5, 0x70, 0x54, 0, 1, 0, 0, 0, 1}));
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
  EXPECT_EQ(pointerAt(off(firstPointer)), (Bytes{0x4F, 0xE5, 0x70, 0x54, 0, 2, 0, 0, 0, 1}));
  ar.seek(0, std::ios_base::end);

  ccMemoryArchive in(ar.storage(), static_cast<c_Int32>(ar.size()), true, false);
  in.seek(first);
  ccPersistent *p1 = nullptr, *p2 = nullptr;
  ccPersistent::serializePointer(in, nullptr, p1);
  ccPersistent::serializePointer(in, nullptr, p2);
  auto* la = dynamic_cast<ccRecTestNode*>(p1);
  ASSERT_NE(la, nullptr);
  EXPECT_EQ(p2, p1);
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
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &a, out);
  ccPersistent::serializePointer(ar, &a, out);  // known: no new record
  EXPECT_EQ(ar.nextObjectID(2), 0);
  b = ccRecTestNode();  // assignment is a change
  EXPECT_FALSE(b.isBound());
  ccPersistent::serializePointer(ar, &a, out);
  EXPECT_EQ(ar.nextObjectID(2), 3);  // a and b again, with new ids
  EXPECT_EQ(ar.nextObjectID(3), 4);
  EXPECT_EQ(ar.nextObjectID(4), 0);
}

TEST(Objects, AFailingStoreLeavesAZeroedRecordOutOfTheChain) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode ok;
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &ok, out);
  // A node whose pointer leads to an object that cannot be stored.
  class Unregistered : public ccRecTestNode {};
  Unregistered bad;
  bad.link = reinterpret_cast<ccRecTestNode*>(&bad);
  ccRecTestNode holder;
  holder.link = &ok;
  struct Thrower : public ccRecTestNode {
   protected:
    void dispatchSerialize(ccArchive&) override { throw ccInvariantFailure(); }
  } thrower;
  Pos const before = ar.tell();
  EXPECT_THROW(ccPersistent::serializePointer(ar, &thrower, out), ccInvariantFailure);
  EXPECT_EQ(ar.tell(), before);
  EXPECT_FALSE(thrower.isBound());
  Bytes bytes = bytesOf(ar);
  EXPECT_EQ(Bytes(bytes.begin() + off(before) + 18, bytes.begin() + off(before) + 22), (Bytes{0, 0, 0, 0}));
  std::vector<c_Int32> ids;
  for (c_Int32 id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
  EXPECT_EQ(ids, (std::vector<c_Int32>{1}));
  // The pointer chain no longer leads to the failed pointer record.
  ccPersistent::serializePointer(ar, &holder, out);
  std::vector<std::streamoff> pointers;
  ar.mode(ccArchive::eLoad);
  for (Pos p = ar.firstPointerPos(); ccArchive::isValid(p);) {
    pointers.push_back(off(p));
    ar.seek(p);
    p = ar.nextPointerPos();
  }
  EXPECT_EQ(pointers.size(), 4u);  // ok, holder, holder's pointer to ok, ok's null link
}

TEST(Objects, UnknownTypeIsListedButNotLoaded) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode n;
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &n, out);
  std::string bytes(ar.storage(), ar.size());
  // Change one character of the stored (substituted) name.
  std::string stored = "ccRecTestNode";
  for (char& c : stored) c = static_cast<char>(cc_ArchiveIO::substitute(static_cast<unsigned char>(c)));
  stored[0] = static_cast<char>(stored[0] | 0x80);
  auto at = bytes.find(stored);
  ASSERT_NE(at, std::string::npos);
  bytes[at + 3] = static_cast<char>(cc_ArchiveIO::substitute('X'));
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
  EXPECT_EQ(in.firstObjectID(), 1);
  in.seek(in.findObject(1));
  EXPECT_EQ(in.objectTypeName(), "ccRXcTestNode");
  try {
    delete in.loadObject();
    FAIL();
  } catch (ccArchive::UnknownType const& e) {
    EXPECT_EQ(e.name(), "ccRXcTestNode");
    EXPECT_EQ(e.line(), 2136);
  }
}

TEST(Pointers, RenumberAndRemove) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccPersistent* out = nullptr;
  ccRecTestNode n;
  Pos const p1 = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
  Pos const p2 = ar.tell();
  ccPersistent::serializePointer(ar, &n, out);  // flag 1, object 1 right behind
  Pos const end = ar.tell();
  ar.seek(p1);
  ar.pointerObjectID(1);  // object 1 is not behind p1
  ar.seek(p2);
  ar.pointerObjectID(1);
  ar.mode(ccArchive::eLoad);
  Bytes b = bytesOf(ar);
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
  ccPersistent* out = nullptr;
  Pos const pa = ar.tell();
  ccPersistent::serializePointer(ar, &a, out);
  Pos const pb = ar.tell();
  ccPersistent::serializePointer(ar, &b, out);
  Pos const end = ar.tell();
  // Renumber b's pointer to a: another object (b) stands behind it and the
  // old flag was set, so the record behind must be skipped: flag 2.
  ar.seek(pb);
  ar.pointerObjectID(1);
  Bytes bytes = bytesOf(ar);
  EXPECT_EQ(bytes[off(pb) + 9], 2);
  ar.seek(pb);
  ar.pointerObjectID(0);
  EXPECT_EQ(bytesOf(ar)[off(pb) + 9], 0);
  // Remove a's record: the chain goes straight to b's.
  ar.seek(ar.findObject(1));
  Pos const recordA = ar.tell();
  ar.removeObject();
  EXPECT_EQ(ar.firstObjectID(), 2);
  EXPECT_EQ(ar.findObject(1), ccArchive::invalidPos());
  bytes = bytesOf(ar);
  EXPECT_EQ(Bytes(bytes.begin() + off(recordA), bytes.begin() + off(recordA) + 4), (Bytes{0, 0, 0, 0}));
  ar.seek(end);
  ar.mode(ccArchive::eLoad);
  ar.seek(pa);
  EXPECT_EQ(ar.pointerObjectID(), 1);
}

TEST(Promotion, PointerGapAboveTwoGigabytes) {
  SparseArchive ar;
  ccPersistent* out = nullptr;
  Pos const p1 = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
  ar.seek(c_Int64{3} << 30, std::ios_base::cur);
  Pos const p2 = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
  Pos const p3 = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
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
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, nullptr, out);
  Pos const p2 = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
  ar.seek(c_Int64{3} << 30, std::ios_base::cur);
  ccPersistent::serializePointer(ar, nullptr, out);  // promotes p2, p1 stays narrow
  ar.seek(p2);
  try {
    ar.removePointer();
    FAIL();
  } catch (ccArchive::BadType const& e) {
    EXPECT_EQ(e.message(false), "Cannot remove a pointer that would create a gap larger than 2GB");
  }
}

TEST(Promotion, ObjectSizeAboveFourGigabytes) {
  SparseArchive ar(ccArchive::eMsbFirst);
  ccRecTestNode big, after;
  big.bodyGap = c_Int64{5} << 30;
  big.value = 9;
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &big, out);
  ccPersistent::serializePointer(ar, &after, out);
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
  ccPersistent* loaded = nullptr;
  ccRecTestNode fresh;  // a new archive view: load through the same stream
  ccPersistent::serializePointer(ar, nullptr, loaded);
  auto* node = dynamic_cast<ccRecTestNode*>(loaded);
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
    ccMemoryArchive ar(msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst, true);
    ar.setStartingID(0x01020304);
    ar.writeNewMark(7);
    ccAssertFailure object;
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, &object, out);
    Bytes const b = bytesOf(ar);
    Bytes got(b.begin() + 95, b.end());
    Bytes expected;
    auto add = [&](Bytes const& part) { expected.insert(expected.end(), part.begin(), part.end()); };
    Bytes const zero4{0, 0, 0, 0};
    // mark 7: no next; previous is the head mark at 2, 93 bytes back
    add({0x61, 0x13, 0x4D, 0x6B, 0});
    add(field32(7, msb));
    add(zero4);
    add(field32(static_cast<c_UInt32>(-93), msb));
    add(zero4);
    add(field32(0xFFFFFFFF, msb));
    add({0});
    // pointer: layout 0, id, flag 1, next 0, previous: the head pointer at 73, 48 back
    add({0x4F, 0xE5, 0x70, 0x54, 0});
    add(field32(0x01020304, msb));
    add({1});
    add(zero4);
    add(field32(static_cast<c_UInt32>(-48), msb));
    // object record: id, no next, previous the head object at 28 (111 back)
    add({0x6F, 0x8B, 0x68, 0x44, 0});
    add(field32(0x01020304, msb));
    add(zero4);
    add(field32(static_cast<c_UInt32>(-111), msb));
    add(zero4);
    add(field32(0xFFFFFFFF, msb));
    add({0});
    // layout 0, size 64, no pointer inside, type block
    add({0});
    add(field32(64, msb));
    add(zero4);
    add({0, 0, 15, 0x22});
    std::string name = "ccAssertFailure";
    for (std::size_t i = 0; i < name.size(); ++i) {
      unsigned char c = cc_ArchiveIO::substitute(static_cast<unsigned char>(name[i]));
      expected.push_back(i == 0 ? c | 0x80 : c);
    }
    add({0x22, 0, 0});
    add({0, 0, 0, 0, 0, 0x22, 0x22});  // body: four versions, an empty text
    EXPECT_EQ(got, expected) << (msb ? "msb" : "lsb");
    // The head object now links forward to it, and the head pointer too.
    EXPECT_EQ(Bytes(b.begin() + 28 + 9, b.begin() + 28 + 13), field32(0x6F, msb));
    EXPECT_EQ(Bytes(b.begin() + 73 + 10, b.begin() + 73 + 14), field32(0x30, msb));
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
    ccPersistent* p = nullptr;
    ccPersistent::serializePointer(out, &a, p);
  }
  {
    ccFileArchive more(path, ccArchive::eLoad, ccArchive::eLsbFirst, true, false);
    more.append();
    EXPECT_TRUE(more.isStoring());
    EXPECT_EQ(more.writeNewMark(0), 2);
    ccAssertFailure b("second");
    ccPersistent* p = nullptr;
    ccPersistent::serializePointer(more, &b, p);
  }
  ccFileArchive in(path, ccArchive::eLoad, ccArchive::eLsbFirst, true, true);
  EXPECT_EQ(in.lastMarkNum(), 2);
  EXPECT_EQ(in.nextObjectID(1), 2);
  std::vector<std::string> texts;
  for (Pos p = in.firstPointerPos(); ccArchive::isValid(p);) {
    in.seek(p);
    Pos const next = in.nextPointerPos();
    ccPersistent* obj = nullptr;
    ccPersistent::serializePointer(in, nullptr, obj);
    texts.push_back(dynamic_cast<ccException*>(obj)->message(false));
    delete obj;
    p = next;
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

TEST(DamagedInput, NestingDeeperThanTheStackIsRefused) {
  std::vector<ccRecTestNode> nodes = chainOf(1500);
  ccMemoryArchive ar(ccArchive::eLsbFirst, false);
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &nodes[0], out);

  // Loaded on a thread with a small stack: a typed error, not an overflow.
  std::string const outcome = onThreadWithStack(512 * 1024, [&] {
    ccMemoryArchive in(ar.storage(), static_cast<c_Int32>(ar.size()), false, false);
    ccPersistent* loaded = nullptr;
    ccPersistent::serializePointer(in, nullptr, loaded);
    return std::string("loaded");
  });
  EXPECT_EQ(outcome, "BadContent 2226");
}

TEST(Objects, StoringAGraphDeeperThanTheStackIsRefusedAndLeavesTheArchiveUsable) {
  std::vector<ccRecTestNode> nodes = chainOf(1500);
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  std::string const outcome = onThreadWithStack(512 * 1024, [&] {
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, &nodes[0], out);
    return std::string("stored");
  });
  EXPECT_EQ(outcome, "BadContent 2227");
  // Nothing of the failed chain is left in the object chain, and the
  // archive takes the next graph as if nothing had happened.
  EXPECT_EQ(ar.firstObjectID(), 0);
  std::vector<ccRecTestNode> small = chainOf(3);
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &small[0], out);
  ccMemoryArchive in(ar.storage(), static_cast<c_Int32>(ar.size()), true, false);
  std::vector<c_Int32> values;
  for (c_Int32 id = in.firstObjectID(); id != 0; id = in.nextObjectID(id)) values.push_back(id);
  EXPECT_EQ(values.size(), 3u);
  ccPersistent* loaded = nullptr;
  ccPersistent::serializePointer(in, nullptr, loaded);
  values.clear();
  for (auto* n = dynamic_cast<ccRecTestNode*>(loaded); n != nullptr;) {
    values.push_back(n->value);
    ccRecTestNode* next = n->link;
    delete n;
    n = next;
  }
  EXPECT_EQ(values, (std::vector<c_Int32>{0, 1, 2}));
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
      ccPersistent* out = nullptr;
      ccPersistent::serializePointer(ar, &nodes[0], out);
      ccMemoryArchive in(ar.storage(), static_cast<c_Int32>(ar.size()), seekable, false);
      ccPersistent* loaded = nullptr;
      ccPersistent::serializePointer(in, nullptr, loaded);
      int depth = 0;
      std::string wrong;
      for (auto* n = dynamic_cast<ccRecTestNode*>(loaded); n != nullptr; ++depth) {
        if (n->value != depth && wrong.empty()) wrong = "value " + std::to_string(n->value) + " at depth " + std::to_string(depth);
        ccRecTestNode* next = n->link;
        delete n;
        n = next;
      }
      return wrong.empty() ? "depth " + std::to_string(depth) : wrong;
    });
    EXPECT_EQ(outcome, "depth " + std::to_string(kDepth)) << (seekable ? "seekable" : "plain");
  }
}

TEST(DamagedInput, TruncatedAndLoopingArchivesRaiseTypedErrors) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ar.writeNewMark(1);
  ar.writeNewMark(2);
  ccRecTestNode n;
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &n, out);
  std::string const good(ar.storage(), ar.size());
  for (std::size_t cut = 0; cut < good.size(); cut += 7) {
    try {
      ccMemoryArchive in(good.data(), static_cast<c_Int32>(cut), true, false);
      for (c_Int32 m = in.firstMarkNum(); m != 0; m = in.nextMarkNum(m)) {
      }
      for (c_Int32 o = in.firstObjectID(); o != 0; o = in.nextObjectID(o)) {
      }
    } catch (ccArchive::Errors const&) {
    }
  }
  // Mark 2's next link points back at mark 1: a loop.
  std::string looped = good;
  ccMemoryArchive probe(good.data(), static_cast<c_Int32>(good.size()), true, false);
  std::streamoff const m1 = off(probe.findMark(1)), m2 = off(probe.findMark(2));
  c_Int32 back = static_cast<c_Int32>(m1 - m2);
  std::memcpy(&looped[m2 + 9], &back, 4);
  std::memset(&looped[m2 + 17], 0xFF, 4);  // the high half of a negative link
  ccMemoryArchive in(looped.data(), static_cast<c_Int32>(looped.size()), true, false);
  EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
}

// The position of the stored (substituted) type name of `name` in `bytes`.
std::size_t storedNameAt(std::string const& bytes, std::string name) {
  for (char& c : name) c = static_cast<char>(cc_ArchiveIO::substitute(static_cast<unsigned char>(c)));
  name[0] = static_cast<char>(name[0] | 0x80);
  return bytes.find(name);
}

TEST(DamagedInput, APointerToAnObjectWhoseLoadFailedIsNotFound) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccRecTestNode a;
  ccPersistent* out = nullptr;
  Pos const first = ar.tell();
  ccPersistent::serializePointer(ar, &a, out);
  ccPersistent::serializePointer(ar, &a, out);  // a reference to the same object
  std::string bytes(ar.storage(), ar.size());
  // The first byte of the body, the node's class version, says 1.
  std::size_t const name = storedNameAt(bytes, "ccRecTestNode");
  ASSERT_NE(name, std::string::npos);
  bytes[name + std::strlen("ccRecTestNode") + 3] = 1;  // after the closing quote and the reserved word

  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
  in.seek(first);
  ccPersistent* p = nullptr;
  EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::UnknownVersion);
  // The half-made object belongs to the archive, which frees it: never hand it out.
  EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::NotFound);
  EXPECT_EQ(p, nullptr);
}

TEST(DamagedInput, ObjectsLoadedUnderAFailedObjectFailWithIt) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccArchiveTestNode a, b;
  a.left = &b;
  b.left = &a;  // a cycle back to the object that will fail
  ccPersistent* out = nullptr;
  Pos const first = ar.tell();
  ccPersistent::serializePointer(ar, &a, out);
  ccPersistent::serializePointer(ar, &b, out);  // a reference to b
  // Pointer records in stream order: a, a.left, b.left, b.right, a.right, b.
  std::vector<Pos> pointers;
  ar.mode(ccArchive::eLoad);
  for (Pos at = ar.firstPointerPos(); ccArchive::isValid(at); at = ar.nextPointerPos()) {
    pointers.push_back(at);
    ar.seek(at);
  }
  ASSERT_EQ(pointers.size(), 6u);
  std::string bytes(ar.storage(), ar.size());
  std::memset(&bytes[off(pointers[4])], 0, 4);  // a.right: a fails after b has loaded

  {
    ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
    in.seek(first);
    ccPersistent* p = nullptr;
    EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::BadContent);
    EXPECT_EQ(in.tell(), pointers[5]);
    // b loaded, but points back at a, which the archive frees.
    EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::NotFound);
    EXPECT_EQ(ccArchiveTestNode::live().size(), 4u);  // a and b here, their copies in the archive
  }
  // Nothing loaded is left behind without an owner.
  EXPECT_EQ(ccArchiveTestNode::live().size(), 2u);
}

TEST(DamagedInput, APointerIdNoRecordCanHaveIsNotFound) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccPersistent* out = nullptr;
  Pos const at = ar.tell();
  ccPersistent::serializePointer(ar, nullptr, out);
  std::string const good(ar.storage(), ar.size());
  for (c_Int32 id : {-5, 0x7FFFFFFF}) {
    std::string bytes = good;
    std::memcpy(&bytes[off(at) + 5], &id, 4);  // flag 0: the object is elsewhere
    ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
    in.seek(at);
    ccPersistent* p = nullptr;
    EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::NotFound) << id;
  }
}

TEST(DamagedInput, AnObjectWhoseRecordSizeRunsPastTheEndIsNotLeaked) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  ccArchiveTestNode n;
  n.value = 3;
  ccPersistent* out = nullptr;
  Pos const at = ar.tell();
  ccPersistent::serializePointer(ar, &n, out);
  std::string bytes(ar.storage(), ar.size());
  // The narrow size of the record behind the pointer, 1000 bytes too large.
  std::size_t const sizeAt = static_cast<std::size_t>(off(at)) + cc_ArchiveIO::kNarrowPointerSize + 27;
  c_UInt32 size = 0;
  std::memcpy(&size, &bytes[sizeAt], 4);
  size += 1000;
  std::memcpy(&bytes[sizeAt], &size, 4);
  std::size_t const before = ccArchiveTestNode::live().size();
  {
    ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
    in.seek(at);
    ccPersistent* p = nullptr;
    EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::BadBuffer);
    in.seek(in.findObject(1));
    EXPECT_THROW(in.loadObject(), ccArchive::Duplicate);  // known, and the archive's
  }
  EXPECT_EQ(ccArchiveTestNode::live().size(), before);  // freed with the archive
}

TEST(DamagedInput, ALinkBeyondTheLargestPositionIsBadContent) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  Pos const mark = ar.tell();
  ar.writeNewMark(1);
  std::string bytes(ar.storage(), ar.size());
  // Next link 0x7FFFFFFFFFFFFFF0: the record's start plus it leaves every position.
  c_UInt32 const low = 0xFFFFFFF0u, high = 0x7FFFFFFFu;
  std::memcpy(&bytes[off(mark) + 9], &low, 4);
  std::memcpy(&bytes[off(mark) + 17], &high, 4);
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
  EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
  EXPECT_THROW(in.nextMarkNum(1), ccArchive::BadContent);
}

TEST(DamagedInput, ARecordNumberNoWriterGivesIsBadContent) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  Pos const mark = ar.tell();
  ar.writeNewMark(1);
  std::string bytes(ar.storage(), ar.size());
  c_Int32 const number = 0x7FFFFFFF;  // above every mark number and object id
  std::memcpy(&bytes[off(mark) + 5], &number, 4);
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
  // Listed, it could only be handed back to nextMarkNum, which refuses it.
  EXPECT_THROW(in.firstMarkNum(), ccArchive::BadContent);
  EXPECT_THROW(in.lastMarkNum(), ccArchive::BadContent);
}

TEST(DamagedInput, AWideRecordSizeBeyondTheLargestPositionIsBadContent) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, true);
  cc_ArchiveIO::rep(ar).wide = true;  // records in the wide layout from here on
  ccRecTestNode n;
  ccPersistent* out = nullptr;
  Pos const at = ar.tell();
  ccPersistent::serializePointer(ar, &n, out);
  std::string bytes(ar.storage(), ar.size());
  std::size_t const sizeAt = static_cast<std::size_t>(off(at)) + cc_ArchiveIO::kWidePointerSize + 27;
  ASSERT_EQ(bytes[sizeAt - 1], 1);  // the layout byte
  c_UInt64 const size = 0x7FFFFFFFFFFFFFFFull;  // the record's start plus it overflows
  std::memcpy(&bytes[sizeAt], &size, 8);
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), true, false);
  in.seek(at);
  ccPersistent* p = nullptr;
  EXPECT_THROW(ccPersistent::serializePointer(in, nullptr, p), ccArchive::BadContent);
}

}  // namespace
