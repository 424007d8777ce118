#include "orvstd/util/devenv.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <typeinfo>

#include "orvstd/archive/archive.h"
#include "orvstd/util/strings.h"

template <class T>
class ccProbe {};
template <class A, class B>
class ccProbe2 {};
template <std::size_t N>
class ccProbeN {};
namespace ccOuter {
class ccInner {
 public:
  class ccLeaf {};
};
}  // namespace ccOuter

namespace {

std::string canon(std::type_info const& t) { return ccDevEnv::canonicalTypeName(t.name()); }

TEST(CanonicalTypeName, FromThisCompilersNames) {
  EXPECT_EQ(canon(typeid(ccArchive::Eof)), "ccArchive::Eof");
  EXPECT_EQ(canon(typeid(ccBadPointer)), "ccBadPointer");
  EXPECT_EQ(canon(typeid(ccOuter::ccInner::ccLeaf)), "ccOuter::ccInner::ccLeaf");
  // The 32-bit integers are "long", whatever this compiler calls them.
  EXPECT_EQ(canon(typeid(ccProbe<c_UInt32>)), "ccProbe<unsigned long>");
  EXPECT_EQ(canon(typeid(ccProbe<c_Int32>)), "ccProbe<long>");
  EXPECT_EQ(canon(typeid(ccProbe<c_Int64>)), "ccProbe<__int64>");
  EXPECT_EQ(canon(typeid(ccProbe<c_UInt64>)), "ccProbe<unsigned __int64>");
  EXPECT_EQ(canon(typeid(ccProbe<long long>)), "ccProbe<__int64>");
  EXPECT_EQ(canon(typeid(ccProbe<unsigned char>)), "ccProbe<unsigned char>");
  EXPECT_EQ(canon(typeid(ccProbe<signed char>)), "ccProbe<signed char>");
  EXPECT_EQ(canon(typeid(ccProbe<char>)), "ccProbe<char>");
  EXPECT_EQ(canon(typeid(ccProbe<c_Int16>)), "ccProbe<short>");
  EXPECT_EQ(canon(typeid(ccProbe<c_UInt16>)), "ccProbe<unsigned short>");
  EXPECT_EQ(canon(typeid(ccProbe<wchar_t>)), "ccProbe<unsigned short>");
  EXPECT_EQ(canon(typeid(ccProbe<char16_t>)), "ccProbe<unsigned short>");
  EXPECT_EQ(canon(typeid(ccProbe<float>)), "ccProbe<float>");
  EXPECT_EQ(canon(typeid(ccProbe<double>)), "ccProbe<double>");
  EXPECT_EQ(canon(typeid(ccProbe<ccProbe<c_UInt32>>)), "ccProbe<ccProbe<unsigned long>>");
  EXPECT_EQ(canon(typeid(ccProbe2<c_Int32, float>)), "ccProbe2<long,float>");
  EXPECT_EQ(canon(typeid(ccProbeN<2>)), "ccProbeN<2>");
  EXPECT_EQ(canon(typeid(ccProbe<ccOuter::ccInner>)), "ccProbe<ccOuter::ccInner>");
}

TEST(CanonicalTypeName, FromTheOriginalCompilersText) {
  EXPECT_EQ(ccDevEnv::canonicalTypeName("class ccPelRoot<unsigned long>"), "ccPelRoot<unsigned long>");
  EXPECT_EQ(ccDevEnv::canonicalTypeName("class ccA<class ccB<long> >"), "ccA<ccB<long>>");
  EXPECT_EQ(ccDevEnv::canonicalTypeName("class ccA<wchar_t>"), "ccA<unsigned short>");
  EXPECT_EQ(ccDevEnv::canonicalTypeName("ccArchive::Eof"), "ccArchive::Eof");
  EXPECT_EQ(ccDevEnv::canonicalTypeName(nullptr), "");
}

TEST(NativeTypeName, RebuildsTheCompilerText) {
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccPelRoot<unsigned long>"), "class ccPelRoot<unsigned long>");
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccA<ccB<long>>"), "class ccA<class ccB<long> >");
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccA<ccB<ccC<char>>>"), "class ccA<class ccB<class ccC<char> > >");
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccPair<float,double>"), "class ccPair<float,double>");
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccArchive::Eof"), "class ccArchive::Eof");
  EXPECT_EQ(ccDevEnv::nativeTypeName("ccVector<2>"), "class ccVector<2>");
  // Round trip through the canonical form is the identity.
  for (char const* c : {"ccA<ccB<long>>", "ccPelRoot<unsigned char>", "ccX::ccY<short,ccZ<double>>"})
    EXPECT_EQ(ccDevEnv::canonicalTypeName(ccDevEnv::nativeTypeName(c).c_str()), c);
}

TEST(DevEnv, HostByteOrderIsLeastSignificantFirstHere) {
  EXPECT_EQ(ccDevEnv::getByteOrder(), 1);
  EXPECT_EQ(ccDevEnv::UserCancelled().errorNumber(), 0x10001000);
}

TEST(Hex, UpperCasePaddedNeverSignExtended) {
  EXPECT_EQ(cfHex(c_Int32{-1}, 8), "FFFFFFFF");
  EXPECT_EQ(cfHex(c_UInt32{0xabc}, 8), "00000ABC");
  EXPECT_EQ(cfHex(c_UInt64{0x123456789ULL}, 4), "123456789");
  EXPECT_EQ(cfHex(c_UInt32{0}, 0), "0");
}

}  // namespace
