#include "orvstd/archive/registry.h"

#include <map>
#include <mutex>
#include <typeindex>
#include <unordered_map>

#include "orvstd/util/devenv.h"

namespace {

struct Registry {
  std::mutex mutex;
  std::vector<cc_RegistryEntry> entries;               // registration order
  std::map<std::string, cc_MakeFn> cache;               // native name -> make
  std::unordered_map<std::type_index, std::string> canonical;  // computed names
};

// Built at first use so that instantiators may run in any order; never
// destroyed, so that an exception's message still finds its type name while
// static destructors run.
Registry& registry() {
  static auto* r = new Registry;
  return *r;
}

std::string replaceAll(std::string s, std::string const& from, std::string const& to) {
  for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
    s.replace(at, from.size(), to);
  return s;
}

}  // namespace

cc_Instantiator::cc_Instantiator(std::type_info const& type, cc_MakeFn make) {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.entries.push_back({&type, make});
}

std::vector<cc_RegistryEntry> cf_RegisteredTypes() {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  return r.entries;
}

std::string const& cf_CanonicalTypeName(std::type_info const& type) {
  Registry& r = registry();
  {
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.canonical.find(std::type_index(type));
    if (it != r.canonical.end()) return it->second;
  }
  std::string name = ccDevEnv::canonicalTypeName(type.name());
  std::lock_guard<std::mutex> lock(r.mutex);
  // Node-based map: the reference stays valid as the map grows.
  return r.canonical.emplace(std::type_index(type), std::move(name)).first->second;
}

cc_MakeFn cf_LookupType(std::string const& nativeName) {
  Registry& r = registry();
  {
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.cache.find(nativeName);
    if (it != r.cache.end()) return it->second;
  }
  std::string const wanted = replaceAll(nativeName, "wchar_t", "unsigned short");
  for (cc_RegistryEntry const& e : cf_RegisteredTypes()) {
    std::string native = ccDevEnv::nativeTypeName(cf_CanonicalTypeName(*e.type));
    if (replaceAll(native, "wchar_t", "unsigned short") == wanted) {
      std::lock_guard<std::mutex> lock(r.mutex);
      r.cache.emplace(nativeName, e.make);
      return e.make;
    }
  }
  return nullptr;
}
