#include "orvstd/except/except.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/except/testing/thrown.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_cleanup.h"

namespace {

// Runs `code` through the conversion and describes the outcome.
std::string convert(c_Int32 code) {
  try {
    cfThrowExceptionOnFailure(code);
    return "returned";
  } catch (ccException const& e) {
    return e.message(true);
  } catch (std::bad_alloc const&) {
    return "bad_alloc";
  }
}

TEST(FailureConversion, CodesTheCoreKnowsAndTheRestFallThrough) {
  struct Row {
    c_Int32 code;
    char const* outcome;
  };
  Row const rows[] = {
      {0, "returned"},
      {1, "returned"},
      {0x7FFFFFFF, "returned"},
      {kstd_outOfMemory, "bad_alloc"},
      // Another code of facility 1 is not recognised and falls through.
      {kstd_failureCode(1, 4), "ccUnknownError: Internal error code: 80000024"},
      {kstd_failureCode(2047, 5), "ccUnknownError: Internal error code: 8000FFE5"},
      {static_cast<c_Int32>(0x80000000u), "ccUnknownError: Internal error code: 80000000"},
  };
  for (Row const& row : rows) EXPECT_EQ(convert(row.code), row.outcome) << "code " << row.code;
  EXPECT_EQ(thrownBy<ccUnknownError>([] { cfThrowExceptionOnFailure(kstd_failureCode(2000, 1)); }).errorNumber(),
            0x10000004);
}

std::vector<int>* gOrder;
void firstConverter(c_Int32 code) {
  gOrder->push_back(1);
  if ((code & 0x1F) == 1) throw ccInvariantFailure();
}
void secondConverter(c_Int32 code) {
  gOrder->push_back(2);
  if ((code & 0x1F) == 2) throw ccBadPointer();
}

TEST(FailureConversion, ConvertersOfOneFacilityRunInRegistrationOrder) {
  constexpr c_Int32 kFacility = 2001;
  cfRegisterExceptionConverter(kFacility, &firstConverter);
  cfRegisterExceptionConverter(kFacility, nullptr);  // ignored
  cfRegisterExceptionConverter(kFacility, &secondConverter);
  std::vector<int> order;
  gOrder = &order;
  EXPECT_THROW(cfThrowExceptionOnFailure(kstd_failureCode(kFacility, 1)), ccInvariantFailure);
  EXPECT_EQ(order, (std::vector<int>{1}));
  order.clear();
  EXPECT_THROW(cfThrowExceptionOnFailure(kstd_failureCode(kFacility, 2)), ccBadPointer);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  order.clear();
  EXPECT_THROW(cfThrowExceptionOnFailure(kstd_failureCode(kFacility, 3)), ccUnknownError);
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(ExceptionMessages, RootTexts) {
  // The default texts of every class are checked with the registry.
  EXPECT_EQ(ccBadPointer().message(), "ccBadPointer: no further information provided");
  EXPECT_EQ(ccAssertFailure(std::string("x < 3")).message(false), "x < 3");
  EXPECT_EQ(ccAssertFailure("").message(true), "ccAssertFailure: no further information provided");
  EXPECT_EQ(ccAssertFailure(static_cast<char const*>(nullptr)).message(false), "no further information provided");
  EXPECT_EQ(ccUnknownError(-1).message(false), "Internal error code: FFFFFFFF");
  std::ostringstream os;
  ccInvariantFailure().message(os);
  EXPECT_EQ(os.str(), "ccInvariantFailure: no further information provided");
}

TEST(ExceptionMessages, ArchiveErrorForms) {
  EXPECT_EQ(ccArchive::BadFile("Could not open file: x", 0).message(false), "Could not open file: x");
  EXPECT_EQ(ccArchive::Eof("archive", 729).message(true), "ccArchive::Eof: thrown from file: archive, line: 729");
  EXPECT_EQ(ccArchive::UnknownType("ccSpline<long>", "archutil", 2136).message(false),
            "ccSpline<long>; thrown from file: archutil, line: 2136");
  EXPECT_EQ(ccArchive::UnknownType("class ccFoo<class ccBar<long> >").message(false), "ccFoo<ccBar<long>>");
}

TEST(ExceptionCopies, CopyKeepsTextAndRethrowKeepsType) {
  ccAssertFailure original("kept");
  ccAssertFailure copy(original);
  EXPECT_EQ(copy.message(false), "kept");
  ccAssertFailure assigned;
  assigned = original;
  EXPECT_EQ(assigned.message(false), "kept");
  EXPECT_FALSE(copy.isBound());

  ccException* heap = new ccArchive::Duplicate("archutil", 481);
  auto const e = thrownBy<ccArchive::Duplicate>([heap] { heap->suicideAndRethrow(); });
  EXPECT_EQ(e.line(), 481);
  EXPECT_EQ(e.file(), "archutil");
}

// A kernel object for the clean-up guard.
int gDestroyed = 0;
c_Int32 destroyCounter(void*) {
  ++gDestroyed;
  return 0;
}

TEST(CleanupObject, RunsTheListWhenAnExceptionPasses) {
  gDestroyed = 0;
  ksys_cleanup_struct_ list;
  c_Int32 status = 0;
  try {
    c_Int32 tag = ksys_cleanup_getNextTag();
    cc_CleanupObject guard(&status, &list, tag);
    int object = 0;
    ksys_cleanupPush(&list, tag, &object, &destroyCounter);
    ksys_cleanupPush(&list, tag, &object, &destroyCounter);
    throw ccInvariantFailure();
  } catch (ccInvariantFailure const&) {
  }
  EXPECT_EQ(gDestroyed, 2);
  EXPECT_EQ(status, -1);
  EXPECT_EQ(ksys_cleanupCount(&list, 0), 0);
}

TEST(CleanupObject, NormalPathThatRanTheListIsLeftAlone) {
  gDestroyed = 0;
  ksys_cleanup_struct_ list;
  c_Int32 status = 0;
  int object = 0;
  c_Int32 tag = ksys_cleanup_getNextTag();
  {
    cc_CleanupObject guard(&status, &list, tag);
    ksys_cleanupPush(&list, tag, &object, &destroyCounter);
    c_Int32 code = 0;
    ksys_cleanupExecute_(&list, &status, &code, tag);
    status = -1;  // the normal path marks the status
    ksys_cleanupPush(&list, tag, &object, &destroyCounter);  // not run by the guard
  }
  EXPECT_EQ(gDestroyed, 1);
  EXPECT_EQ(ksys_cleanupCount(&list, tag), 1);
  c_Int32 code = 0;
  status = 0;
  ksys_cleanupExecute_(&list, &status, &code, tag);
}

TEST(AssertDeathTest, CallerErrorsAbortWithTheSourceLine) {
  EXPECT_DEATH(cmAssert(1 + 1 == 3), "assertion failed at .*except_test.cc:[0-9]+");
}

}  // namespace
