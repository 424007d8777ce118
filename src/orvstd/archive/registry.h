// The type registry: how a loading archive turns a stored type name back
// into an object of that class.
//
// Each persistent concrete class has one static cc_Instantiator, built before
// main, that enters its type and its factory. The name kept in files is the
// canonical type name (ccDevEnv::canonicalTypeName), the same on every
// compiler, so files move between builds.
//
//   class ccSpot : public ccPersistent { ... static ccPersistent* make(); };
//   static cc_Instantiator const spotInstantiator(typeid(ccSpot), &ccSpot::make);
//
//   ccPersistent* p = cf_MakeByCanonicalName("ccSpot");  // a new ccSpot, or null
#ifndef ORVSTD_ARCHIVE_REGISTRY_H_
#define ORVSTD_ARCHIVE_REGISTRY_H_

#include <new>
#include <string>
#include <typeinfo>
#include <vector>

class ccPersistent;

using cc_MakeFn = ccPersistent* (*)();

class cc_Instantiator {
 public:
  // Appends {type, make} to the registry. Safe from any static constructor.
  cc_Instantiator(std::type_info const& type, cc_MakeFn make);
};

// Default-constructs a T on the heap; null if allocation fails.
template <class T>
ccPersistent* cf_MakeNothrow() {
  return new (std::nothrow) T();
}

// The same for a class with an operator new of its own (a pool), which
// hides the nothrow form: a failure to allocate gives null too.
template <class T>
ccPersistent* cf_MakeOrNull() {
  try {
    return new T();
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

struct cc_RegistryEntry {
  std::type_info const* type;
  cc_MakeFn make;
};

// The registered classes in registration order.
std::vector<cc_RegistryEntry> cf_RegisteredTypes();
// The factory for a native type name (ccDevEnv::nativeTypeName form), or
// null. Successful look-ups are cached.
cc_MakeFn cf_LookupType(std::string const& nativeName);
// The canonical name of a type, computed once per type.
std::string const& cf_CanonicalTypeName(std::type_info const& type);

#endif  // ORVSTD_ARCHIVE_REGISTRY_H_
