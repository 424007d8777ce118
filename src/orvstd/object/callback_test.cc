// The remote-object base and callbacks: local and remote, through archives byte for byte, refused
// versions, and the counted one-argument form.
#include "orvstd/object/callback.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "orvstd/archive/archive.h"
#include "orvstd/handle/ptrhandle.h"

namespace {

// Stands in for a communicator: only its address is ever used here.
ccCommunicator& fakeCommunicator() {
  alignas(16) static unsigned char storage[64];
  return *reinterpret_cast<ccCommunicator*>(storage);
}

TEST(Callback, LocalAndRemoteKeepTheirPlaceThroughCopies) {
  ccCallback local;
  EXPECT_TRUE(local.isLocal());
  EXPECT_FALSE(local.isRemote());
  EXPECT_TRUE(local.isValid());

  ccCallback remote(fakeCommunicator(), -2);
  EXPECT_TRUE(remote.isRemote());
  EXPECT_EQ(remote.communicator(), &fakeCommunicator());
  EXPECT_EQ(remote.handle(), 0xFFFFFFFEu);  // the far side's 32 bits, as they came

  ccCallback copy(remote);
  EXPECT_TRUE(copy.isRemote());
  EXPECT_EQ(copy.handle(), 0xFFFFFFFEu);
  EXPECT_EQ(copy.refCount(), 0);  // a copy is a new body
  copy = local;
  EXPECT_TRUE(copy.isLocal());
}

// Moves are protected: a class decides where its objects live.
class Probe : public ccRemoteObject {
 public:
  using ccRemoteObject::move;
  ~Probe() override = default;
};

TEST(RemoteObject, MovesBetweenHereAndTheFarSide) {
  Probe probe;
  EXPECT_TRUE(probe.isLocal());
  probe.move(fakeCommunicator(), 0x7FFFFFFF);
  EXPECT_TRUE(probe.isRemote());
  EXPECT_EQ(probe.handle(), 0x7FFFFFFFu);
  Probe copy = probe;
  probe.move();
  EXPECT_TRUE(probe.isLocal());
  EXPECT_EQ(probe.communicator(), nullptr);
  EXPECT_EQ(copy.handle(), 0x7FFFFFFFu);  // the copy stays where it was
  copy = probe;
  EXPECT_TRUE(copy.isLocal());
}

TEST(CallbackDeathTest, TheHandleOfALocalObjectIsAsserted) {
  ccCallback local;
  EXPECT_DEATH(static_cast<void>(local.handle()), "remote_object.cc");
}

// The embedded form in a plain archive: head, record prefix, then the
// callback's version and its persistent base's version, nothing else.
TEST(Callback, StoresItsVersionBytesAlone) {
  for (auto ordering : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
    ccMemoryArchive out(ordering, false);
    ccCallback remote(fakeCommunicator(), 77);
    out << remote;
    std::string const bytes(out.storage(), out.size());
    std::string const head = ordering == ccArchive::eMsbFirst ? std::string("\x02\x00", 2) : "\x02\x01";
    EXPECT_EQ(bytes, head + std::string("\xF1\x66\x4B\xDF\x00\x00", 6));

    ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), false, false);
    ccCallback back;
    in >> back;
    EXPECT_TRUE(back.isLocal());  // where it lived does not travel
  }
}

TEST(Callback, GoesThroughPointersAsItsOwnClass) {
  EXPECT_EQ(cf_CanonicalTypeName(typeid(ccCallback)), "ccCallback");
  for (bool seekable : {false, true}) {
    ccMemoryArchive out(ccArchive::eLsbFirst, seekable);
    ccCallback callback;
    ccPersistent* ignored = nullptr;
    ccPersistent::serializePointer(out, &callback, ignored);
    ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), seekable, false);
    ccPersistent* loaded = nullptr;
    ccPersistent::serializePointer(in, nullptr, loaded);
    std::unique_ptr<ccPersistent> owned(loaded);
    ASSERT_NE(loaded, nullptr);
    ccPersistent const& object = *loaded;
    EXPECT_EQ(typeid(object), typeid(ccCallback));
  }
}

TEST(Callback, RefusesANewerVersion) {
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  ccCallback callback;
  out << callback;
  std::string bytes(out.storage(), out.size());
  ASSERT_EQ(bytes.size(), 8u);
  bytes[6] = 1;
  ccMemoryArchive in(bytes.data(), static_cast<c_Int32>(bytes.size()), false, false);
  ccCallback back;
  try {
    in >> back;
    FAIL() << "version 1 was accepted";
  } catch (ccArchive::UnknownVersion const& e) {
    EXPECT_EQ(e.file(), "std/util/callback");
    EXPECT_EQ(e.line(), 22);
  }
}

class Collect : public ccCallback1<void const*> {
 public:
  explicit Collect(std::string* out, int* destroyed) : out_(out), destroyed_(destroyed) {}
  ~Collect() override { ++*destroyed_; }
  void operator()(void const* text) override { *out_ += static_cast<char const*>(text); }

 private:
  std::string* out_;
  int* destroyed_;
};

TEST(Callback1, IsCalledThroughCountedHandlesAndGoesWithTheLast) {
  std::string seen;
  int destroyed = 0;
  {
    ccPtrHandle<ccCallback1<void const*>> h(new Collect(&seen, &destroyed));
    EXPECT_EQ(h->refCount(), 1);
    {
      ccPtrHandle<ccCallback1<void const*>> g = h;
      EXPECT_EQ(h->refCount(), 2);
      (*g)("line 1;");
    }
    EXPECT_EQ(h->refCount(), 1);
    (*h)("line 2");
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(seen, "line 1;line 2");
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
