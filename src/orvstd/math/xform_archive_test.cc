// The plane transform classes through archives: hand-assembled bytes of a
// linear transform behind a base-class handle, round trips of every class
// through plain and seekable archives in both byte orders, and damaged or
// hostile archives refused with typed errors.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "orvstd/archive/persistent_handle.h"
#include "orvstd/archive/testing/record_bytes.h"
#include "orvstd/math/testing/xform_archive.h"
#include "orvstd/math/testing/xform_warp.h"
#include "orvstd/math/xform_base.h"
#include "orvstd/math/xform_cache.h"
#include "orvstd/math/xform_composed.h"

namespace {

using namespace orvstd_testing;
using M2 = ccMatrix<2>;
using V2 = ccVector<2>;

Bytes vectorBytes(V2 v, bool msb) { return cat({{0}, field64(v.x(), msb), field64(v.y(), msb)}); }
Bytes matrixBytes(M2 m, bool msb) {
  return cat({{0}, field64(m.element(0, 0), msb), field64(m.element(0, 1), msb), field64(m.element(1, 0), msb),
              field64(m.element(1, 1), msb), field64(m.determinant(), msb)});
}

TEST(Xform2Archive, LinearBytesBehindABaseHandle) {
  for (bool msb : {true, false}) {
    M2 const m(2, -1, 0.5, 3);
    V2 const t(1.25, -8);
    cc2XformBasePtrh_const h(new cc2XformLinear(m, t));
    ccMemoryArchive ar(msb ? ccArchive::eMsbFirst : ccArchive::eLsbFirst, false);
    ar || h;
    ar || h;  // the second sight is a reference
    Bytes const want = cat({{0x02, static_cast<unsigned char>(msb ? 0 : 1)}, pointerRecord(1, 1, msb),
                            objectRecordHead(1, "cc2XformLinear", msb),
                            {0, 0, 0},  // cc2XformLinear, cc2XformBase, ccPersistent versions
                            vectorBytes(t, msb), matrixBytes(m, msb), pointerRecord(1, 0, msb)});
    EXPECT_EQ(bytesOf(ar), want) << (msb ? "msb" : "lsb");

    ccMemoryArchive in(reinterpret_cast<char const*>(want.data()), static_cast<c_Int32>(want.size()), false, false);
    cc2XformBasePtrh_const a, b;
    in || a;
    in || b;
    EXPECT_EQ(a.get(), b.get());
    auto const* l = dynamic_cast<cc2XformLinear const*>(a.get());
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(*l, cc2XformLinear(m, t));
  }
}

// Every class, through base handles: the loaded object has the class and
// maps as the original.
TEST(Xform2Archive, EveryClassRoundTripsThroughBaseHandles) {
  cc2XformBasePtrh_const shared(new cc2XformLinear(M2(1, 2, 0, 1), V2(3, 0)));
  cc2XformComposed* chain = new cc2XformComposed(*shared, ccTestWarp(0.125), false, true);
  chain->postCompose(*shared, false);
  chain->preCompose(cc2XformComposed(ccTestWarp(-0.5), true), true);
  std::vector<cc2XformBasePtrh_const> const cases{cc2XformBasePtrh_const(new cc2XformLinear),
                                                   shared, cc2XformBasePtrh_const(new ccTestWarp(2)),
                                                   cc2XformBasePtrh_const(chain),
                                                   cc2XformBasePtrh_const(new cc2XformComposed)};
  for (auto const& original : cases) {
    for (auto const& loaded : roundTripHandles(original)) {
      ASSERT_TRUE(loaded);
      cc2XformBase const &l = *loaded, &o = *original;
      EXPECT_EQ(typeid(l), typeid(o));
      EXPECT_NE(loaded.get(), original.get());
      expectSameMap(*original, *loaded);
    }
  }
  // Elements shared in the original are shared after loading.
  for (auto const& loaded : roundTripHandles(cc2XformBasePtrh_const(chain))) {
    auto const* c = dynamic_cast<cc2XformComposed const*>(loaded.get());
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(c->elements().size(), 4u);
    EXPECT_EQ(c->elements()[1].get(), c->elements()[3].get());
    EXPECT_NE(c->elements()[1].get(), c->elements()[2].get());
    EXPECT_NE(dynamic_cast<cc2XformComposed const*>(c->elements()[0].get()), nullptr);
  }
}

// A composed transform holding `count` elements, hand-assembled in a plain
// msb archive: the body after the three version bytes is given.
Bytes composedArchive(Bytes const& afterVersions) {
  return cat({{0x02, 0x00}, pointerRecord(1, 1, true), objectRecordHead(1, "cc2XformComposed", true), {0, 0, 0},
              afterVersions});
}

Bytes linearRecord(c_Int32 id, unsigned char version = 0) {
  return cat({pointerRecord(id, 1, true), objectRecordHead(id, "cc2XformLinear", true), {version, 0, 0},
              vectorBytes(V2(1, 2), true), matrixBytes(M2(), true)});
}

void expectRefused(Bytes const& bytes, std::function<void(ccArchive::Errors const&)> const& check) {
  ccMemoryArchive in(reinterpret_cast<char const*>(bytes.data()), static_cast<c_Int32>(bytes.size()), false, false);
  cc2XformBasePtrh_const h;
  try {
    in || h;
    ADD_FAILURE() << "loaded";
  } catch (ccArchive::Errors const& e) {
    check(e);
  }
  EXPECT_FALSE(h);
}

TEST(Xform2Archive, DamagedCompositionsAreRefused) {
  // The well-formed one first, so the cases below differ by one thing.
  Bytes const good = composedArchive(cat({{0}, field32(1, true), linearRecord(2)}));
  {
    ccMemoryArchive in(reinterpret_cast<char const*>(good.data()), static_cast<c_Int32>(good.size()), false, false);
    cc2XformBasePtrh_const h;
    in || h;
    EXPECT_EQ(h->mapPoint(V2()), V2(1, 2));
  }
  auto eof = [](ccArchive::Errors const& e) {
    EXPECT_NE(dynamic_cast<ccArchive::Eof const*>(&e), nullptr) << e.message();
  };
  auto badType = [](ccArchive::Errors const& e) {
    EXPECT_NE(dynamic_cast<ccArchive::BadType const*>(&e), nullptr) << e.message();
  };
  auto badContent = [](ccArchive::Errors const& e) {
    EXPECT_NE(dynamic_cast<ccArchive::BadContent const*>(&e), nullptr) << e.message();
    EXPECT_EQ(e.file(), "std/math/xfcomp");
  };
  // The vector record's own version: no location.
  expectRefused(composedArchive(cat({{1}, field32(1, true), linearRecord(2)})), [](ccArchive::Errors const& e) {
    EXPECT_NE(dynamic_cast<ccArchive::UnknownVersion const*>(&e), nullptr);
    EXPECT_EQ(e.file(), "");
    EXPECT_EQ(e.line(), 0);
  });
  // Never empty, no null element.
  expectRefused(composedArchive(cat({{0}, field32(0, true)})), badContent);
  expectRefused(composedArchive(cat({{0}, field32(1, true), pointerRecord(0, 0, true)})), badContent);
  // A hostile count: the elements run out, nothing is reserved for them. The
  // element loaded before the failure is freed once, with the composition.
  expectRefused(composedArchive(cat({{0}, field32(0xFFFFFFFF, true), linearRecord(2)})),
                eof);
  // An element that is the composition itself, or contains it.
  expectRefused(composedArchive(cat({{0}, field32(1, true), pointerRecord(1, 0, true)})), badContent);
  Bytes const inner = cat({pointerRecord(2, 1, true), objectRecordHead(2, "cc2XformComposed", true), {0, 0, 0},
                           {0}, field32(1, true), pointerRecord(1, 0, true)});
  expectRefused(composedArchive(cat({{0}, field32(1, true), inner})), badContent);
  // An element of another class than a transform.
  Bytes const notAnXform = cat({pointerRecord(2, 1, true), objectRecordHead(2, "ccAssertFailure", true),
                                {0, 0, 0, 0, 0, 0x22, 0x22}});
  expectRefused(composedArchive(cat({{0}, field32(1, true), notAnXform})),
                badType);
  // A class version above the reader's names the class's source.
  expectRefused(composedArchive(cat({{0}, field32(1, true), linearRecord(2, 1)})), [](ccArchive::Errors const& e) {
    EXPECT_NE(dynamic_cast<ccArchive::UnknownVersion const*>(&e), nullptr);
    EXPECT_EQ(e.file(), "std/math/xflinear");
  });
  Bytes badComposed = good;
  badComposed[2 + 18 + objectRecordHead(1, "cc2XformComposed", true).size()] = 1;
  expectRefused(badComposed, [](ccArchive::Errors const& e) { EXPECT_EQ(e.file(), "std/math/xfcomp"); });
  Bytes badBase = good;
  badBase[2 + 18 + objectRecordHead(1, "cc2XformComposed", true).size() + 1] = 1;
  expectRefused(badBase, [](ccArchive::Errors const& e) { EXPECT_EQ(e.file(), "std/math/xfbase"); });
}

// --- cc2XformCache -----------------------------------------------------------

TEST(Xform2CacheArchive, HandlesAsPointersOrThroughMemory) {
  cc2XformCache c;
  c.xform(cc2XformLinear(M2(0, -1, 1, 0), V2(4, 5)));
  (void)c.xformInverse();
  for (auto ordering : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
    for (bool seekable : {false, true}) {
      ccMemoryArchive out(ordering, seekable);
      out || c;
      ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), seekable, false);
      cc2XformCache d;
      in || d;
      EXPECT_TRUE(d.isLinear());
      EXPECT_EQ(d.linearXform(), c.linearXform());
      expectSameMap(*c.xform(), *d.xform());
      expectSameMap(*c.xformInverse(), *d.xformInverse());
    }
  }
  // A stored null inverse loads null and is made again on demand.
  cc2XformCache n;
  n.xform(ccTestWarp(0.5));
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  out || n;
  ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), false, false);
  cc2XformCache m;
  in || m;
  EXPECT_FALSE(m.isLinear());
  int const before = ccTestWarp::inversesMade();
  EXPECT_EQ(m.xformInverse()->mapPoint(V2(3, 2)), V2(1, 2));
  EXPECT_EQ(ccTestWarp::inversesMade(), before + 1);

  // Through memory (the channels' form): a length and the bytes of an inner
  // archive; loading reads the handles into copies and keeps its own.
  ccMemoryArchive wrapped(ccArchive::eLsbFirst, false);
  c.cf_serialize(wrapped, true);
  ccMemoryArchive direct(ccArchive::eLsbFirst, false);
  cc2XformBasePtrh_const x = c.xform(), inv = c.xformInverse();
  direct || x;
  direct || inv;
  Bytes const w = bytesOf(wrapped);
  Bytes const d = bytesOf(direct);  // what the inner archive holds
  ASSERT_GT(w.size(), 7 + d.size());
  EXPECT_EQ(Bytes(w.begin() + 2, w.begin() + 7), cat({{0}, field32(static_cast<c_UInt32>(d.size()), false)}));
  EXPECT_EQ(Bytes(w.begin() + 7, w.begin() + 7 + static_cast<std::ptrdiff_t>(d.size())), d);
  ccMemoryArchive win(wrapped.storage(), static_cast<c_Int32>(wrapped.size()), false, false);
  cc2XformCache kept;
  kept.xform(ccTestWarp(1));
  cc2XformBase const* keptXform = kept.xform().get();
  kept.cf_serialize(win, true);
  EXPECT_EQ(kept.xform().get(), keptXform);
  EXPECT_TRUE(kept.isLinear());  // the flag and the linear form do load
  EXPECT_EQ(kept.linearXform(), c.linearXform());
}

TEST(Xform2CacheArchive, DamagedCachesAreRefused) {
  cc2XformCache c;
  ccMemoryArchive out(ccArchive::eMsbFirst, false);
  out || c;
  Bytes bytes = bytesOf(out);
  Bytes version = bytes;
  version[2] = 1;
  // The flag and the embedded linear form: 1 + 4 + 61 bytes at the end.
  Bytes const nullForward =
      cat({{0x02, 0x00, 0}, pointerRecord(0, 0, true), pointerRecord(0, 0, true), Bytes(bytes.end() - 66, bytes.end())});
  for (auto const& [b, kind] : {std::pair{version, 0}, std::pair{nullForward, 1}}) {
    ccMemoryArchive in(reinterpret_cast<char const*>(b.data()), static_cast<c_Int32>(b.size()), false, false);
    cc2XformCache d;
    if (kind == 0)
      EXPECT_THROW(in || d, ccArchive::UnknownVersion);
    else
      EXPECT_THROW(in || d, ccArchive::BadContent);
  }
  // Through memory: a negative or overlong length.
  for (c_UInt32 size : {0xFFFFFFFFu, 0x7FFFFFFFu}) {
    Bytes const b = cat({{0x02, 0x01, 0}, field32(size, false), Bytes(40, 0)});
    ccMemoryArchive in(reinterpret_cast<char const*>(b.data()), static_cast<c_Int32>(b.size()), false, false);
    cc2XformCache d;
    if (size == 0xFFFFFFFFu)
      EXPECT_THROW(d.cf_serialize(in, true), ccArchive::BadContent);
    else
      EXPECT_THROW(d.cf_serialize(in, true), ccArchive::Errors);
  }
}

}  // namespace
