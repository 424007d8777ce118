// Every registered exception class stores and loads through plain and
// seekable archives and is raised again as its own type.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/testing/stored_archive.h"
#include "orvstd/devices/board.h"
#include "orvstd/except/testing/thrown.h"

namespace {

// Stores `e` through a pointer and loads it back from a fresh archive.
std::unique_ptr<ccException> roundTrip(ccException& e, bool seekable, ccArchive::Ordering ordering) {
  ccMemoryArchive out(ordering, seekable);
  storePointer(out, &e);
  LoadArchive in(out, seekable);
  ccPersistent* loaded = loadPointer(in);
  EXPECT_TRUE(loaded->isBound());
  return std::unique_ptr<ccException>(dynamic_cast<ccException*>(loaded));
}

TEST(ExceptionArchive, EveryRegisteredClassRoundTripsAndRethrowsAsItself) {
  int checked = 0;
  for (cc_RegistryEntry const& entry : cf_RegisteredTypes()) {
    std::unique_ptr<ccPersistent> made(entry.make());
    auto* e = dynamic_cast<ccException*>(made.get());
    if (e == nullptr) continue;
    for (bool seekable : {false, true}) {
      for (auto ordering : {ccArchive::eMsbFirst, ccArchive::eLsbFirst}) {
        std::unique_ptr<ccException> back = roundTrip(*e, seekable, ordering);
        ASSERT_NE(back, nullptr) << cf_CanonicalTypeName(*entry.type);
        ccException const& loaded = *back;
        EXPECT_EQ(typeid(loaded), *entry.type);
        EXPECT_EQ(back->errorNumber(), e->errorNumber());
        EXPECT_EQ(back->message(true), e->message(true));
        try {
          back.release()->suicideAndRethrow();
        } catch (ccException const& thrown) {
          EXPECT_EQ(typeid(thrown), *entry.type);
        }
      }
    }
    ++checked;
  }
  EXPECT_GE(checked, 181);  // every exception class of the library
}

TEST(ExceptionArchive, FieldsSurviveAndBytesAreExact) {
  ccAssertFailure text(std::string("x<3"));
  auto back = roundTrip(text, false, ccArchive::eLsbFirst);
  EXPECT_EQ(back->message(false), "x<3");

  ccArchive::UnknownType unknown("ccSpline<long>", "archutil", 2136);
  auto u = roundTrip(unknown, true, ccArchive::eMsbFirst);
  EXPECT_EQ(u->message(false), "ccSpline<long>; thrown from file: archutil, line: 2136");

  ccBoard::BadParams board("no board", 5);
  EXPECT_EQ(roundTrip(board, false, ccArchive::eMsbFirst)->message(false), "no board : LastError = 5");

  // The embedded form of ccArchive::Eof("archive", 729) in a plain archive:
  // prefix, four version bytes (leaf, family, ccException, ccPersistent),
  // then file and line.
  std::string const expected("\x02\x00\xF1\x66\x4B\xDF\x00\x00\x00\x00\x07\x22" "archive" "\x22\x00\x00\x02\xD9", 24);
  EXPECT_EQ(storedPlain(ccArchive::Eof("archive", 729), ccArchive::eMsbFirst), expected);
}

TEST(ExceptionArchive, NewerClassVersionsAreRefused) {
  std::string bytes = storedPlain(ccBadPointer());
  bytes[6] = 1;  // the leaf's version
  ccBadPointer back;
  EXPECT_EQ(thrownBy<ccArchive::UnknownVersion>([&] { loadPlain(bytes, back); }).message(false),
            "ccInvariantFailure");
  // The board family tests its version only after its base was read.
  bytes = storedPlain(ccBoard::Timeout("slow", 0));
  bytes[7] = 3;  // the family's version
  ccBoard::Timeout timeout;
  auto const e = thrownBy<ccArchive::UnknownVersion>([&] { loadPlain(bytes, timeout); });
  EXPECT_EQ(e.file(), "ccBoard::Errors class version mismatch");
  EXPECT_EQ(e.line(), 3);
}

}  // namespace
