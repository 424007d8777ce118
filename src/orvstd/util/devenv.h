// ccDevEnv: facts about the build and the host that the library needs.
//
// Canonical type names are how classes are named in files and on the wire.
// They are the names the kit has always written: "ccArchive::Eof",
// "ccPelRoot<unsigned long>" for the 32-bit unsigned pel type. This host's
// compiler spells types differently (g++ gives mangled names and calls a
// 32-bit integer "int"); canonicalTypeName maps either spelling to the one
// canonical text, and nativeTypeName gives the form the registry compares.
//
//   ccDevEnv::canonicalTypeName(typeid(ccArchive::Eof).name()) == "ccArchive::Eof"
#ifndef ORVSTD_UTIL_DEVENV_H_
#define ORVSTD_UTIL_DEVENV_H_

#include <string>

#include "orvstd/except/except.h"

class ccDevEnv {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(UserCancelled, Errors, 0x10001000);

  // From a type_info name of this compiler (mangled), or from the
  // compiler text of the kit's original platform ("class ccFoo<long>"),
  // to the canonical name. The 32-bit integer types are "long" and
  // "unsigned long", the 64-bit ones "__int64" and "unsigned __int64", and
  // every wide character type is "unsigned short".
  static std::string canonicalTypeName(char const* name);
  // From a canonical name to the native text the registry compares:
  // "class " before every class name, "> >" for ">>".
  static std::string nativeTypeName(std::string const& canonical);

  // 0 if the host puts the most significant byte first, 1 if the least.
  static int getByteOrder();
};

#endif  // ORVSTD_UTIL_DEVENV_H_
