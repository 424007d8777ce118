// libFuzzer target: any bytes, loaded as a plain and as a seekable archive,
// go through every reader. A typed ccException is the only allowed outcome
// of bad input; a crash, a sanitizer report, an assertion, a hang or a leak
// is a bug.
//
// The input form (a control byte, then the archive) is in
// testing/fuzz_input.h; seeds are in testdata/fuzz_corpus, written by
// fuzz_corpus_test.cc.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/testing/fuzz_input.h"
#include "orvstd/archive/testing/graph_node.h"

namespace {

using Pos = ccArchive::Pos;

// A read loop stops at the first error; this only bounds a loop over reads
// that each consume at least one byte.
constexpr int kMaxReads = 1 << 16;

struct Control {
  int plan;
  bool fixHead;
  bool freeEarly;
  bool giveOwnership;
  int embeddedStart;
};

Control controlOf(unsigned char c) {
  return Control{c & 7, (c & kFuzzFixHead) != 0, (c & kFuzzFreeEarly) != 0, (c & kFuzzGiveOwnership) != 0,
                 c >> kFuzzEmbeddedShift};
}

// What loading handed to the caller: objects returned by pointers and
// loadObject, and the links of embedded nodes. Every loaded node must be
// reachable from these once the archive is gone (else the library lost it);
// every link must lead to a live object (a dangling one is reported by the
// sanitizers when it is looked at).
class Loaded {
 public:
  void root(ccPersistent* p) {
    if (p != nullptr) roots_.insert(p);
  }

  // Frees the objects handed out that are not nodes, while the archive
  // lives; nodes keep no link to them.
  void freeOthersEarly() {
    std::set<ccPersistent*> const nodes = liveNodes();
    std::set<ccPersistent*> others;
    for (ccPersistent* p : roots_)
      if (!nodes.count(p)) others.insert(p);
    for (ccArchiveTestNode* n : ccArchiveTestNode::live()) {
      if (others.count(n->left)) n->left = nullptr;
      if (others.count(n->right)) n->right = nullptr;
    }
    for (ccPersistent* p : others) {
      roots_.erase(p);
      delete p;
    }
  }

  // Call once the archive is gone: it frees the objects whose load failed.
  void checkAndFreeAll() {
    std::set<ccPersistent*> const nodes = liveNodes();
    std::set<ccPersistent*> others;
    std::set<ccPersistent*> reached;
    std::vector<ccPersistent*> todo(roots_.begin(), roots_.end());
    while (!todo.empty()) {
      ccPersistent* p = todo.back();
      todo.pop_back();
      if (p == nullptr || !reached.insert(p).second) continue;
      if (!nodes.count(p)) {
        (void)typeid(*p);  // a freed object is reported here
        others.insert(p);
        continue;
      }
      auto* n = static_cast<ccArchiveTestNode*>(p);
      todo.push_back(n->left);
      todo.push_back(n->right);
    }
    for (ccPersistent* n : nodes) {
      if (!reached.count(n)) {
        std::fprintf(stderr, "archive_fuzzer: a loaded node is reachable from nothing handed out\n");
        std::abort();
      }
    }
    for (ccPersistent* p : others) delete p;
    ccArchiveTestNode::deleteAllNodes();
    roots_.clear();
  }

 private:
  static std::set<ccPersistent*> liveNodes() {
    std::set<ccPersistent*> nodes;
    for (ccArchiveTestNode* n : ccArchiveTestNode::live()) nodes.insert(n);
    return nodes;
  }

  std::set<ccPersistent*> roots_;
};

void readPointer(ccArchive& ar, Loaded& loaded) {
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, nullptr, out);
  loaded.root(out);
}

void readEmbedded(ccArchive& ar, int k, Loaded& loaded) {
  std::unique_ptr<ccPersistent> target = fuzzEmbeddedTarget(k);
  // What an embedded node's links load is the caller's, also when its read
  // fails half way.
  auto keepLinks = [&] {
    if (auto* n = dynamic_cast<ccArchiveTestNode*>(target.get())) {
      loaded.root(n->left);
      loaded.root(n->right);
    }
  };
  try {
    ar >> *target;
  } catch (ccException const&) {
    keepLinks();
    throw;
  }
  keepLinks();
}

template <class T>
void readValue(ccArchive& ar) {
  T v{};
  ar >> v;
}

// One read of the mixed loops; step selects the kind.
void readOne(ccArchive& ar, int step, int embeddedStart, Loaded& loaded) {
  switch (step % kFuzzKinds) {
    case 0: readValue<unsigned char>(ar); break;
    case 1: readValue<bool>(ar); break;
    case 2: readValue<c_Int16>(ar); break;
    case 3: readValue<c_UInt16>(ar); break;
    case 4: readValue<c_Int32>(ar); break;
    case 5: readValue<c_UInt32>(ar); break;
    case 6: readValue<float>(ar); break;
    case 7: readValue<c_Int64>(ar); break;
    case 8: readValue<c_UInt64>(ar); break;
    case 9: readValue<double>(ar); break;
    case 10: readValue<wchar_t>(ar); break;
    case 11: readValue<char16_t>(ar); break;
    case 12: readValue<std::string>(ar); break;
    case 13: readValue<std::u16string>(ar); break;
    case 14: readValue<std::wstring>(ar); break;
    case 15: readValue<std::u32string>(ar); break;
    case 16: readPointer(ar, loaded); break;
    case 17: readEmbedded(ar, embeddedStart + step, loaded); break;
    default: {
      char bytes[3];
      ar.raw(bytes, 3);
      break;
    }
  }
}

// Reads from the current position by the plan until the first error.
void readLoop(ccArchive& ar, Control const& c, Loaded& loaded) {
  try {
    for (int i = 0; i < kMaxReads; ++i) {
      switch (c.plan) {
        case kFuzzPointers: readPointer(ar, loaded); break;
        case kFuzzEmbedded: readEmbedded(ar, c.embeddedStart + i, loaded); break;
        case kFuzzNarrow: readValue<std::string>(ar); break;
        case kFuzzU16: readValue<std::u16string>(ar); break;
        case kFuzzWide: readValue<std::wstring>(ar); break;
        case kFuzzU32: readValue<std::u32string>(ar); break;
        case kFuzzMixed: readOne(ar, i, c.embeddedStart, loaded); break;
        default: readOne(ar, fuzzReversedKind(i), c.embeddedStart, loaded); break;
      }
    }
  } catch (ccException const&) {
  }
}

void walkMarks(ccArchive& ar, Control const& c, Loaded& loaded) {
  std::vector<c_Int32> numbers;
  try {
    for (c_Int32 n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) numbers.push_back(n);
  } catch (ccException const&) {
  }
  try {
    for (c_Int32 n = ar.lastMarkNum(); n != 0; n = ar.prevMarkNum(n)) numbers.push_back(n);
  } catch (ccException const&) {
  }
  // Client data follows a mark: read a little of it, a different kind each time.
  int step = 0;
  for (c_Int32 n : numbers) {
    try {
      Pos const at = ar.findMark(n);
      if (!ccArchive::isValid(at)) continue;
      ar.seek(at);
      c_Int32 num = 0;
      ar.readMark(num);
      ar.skipMark();
      readOne(ar, step++, c.embeddedStart, loaded);
      readOne(ar, step++, c.embeddedStart, loaded);
    } catch (ccException const&) {
    }
  }
}

void walkObjects(ccArchive& ar, Control const& c, Loaded& loaded) {
  std::vector<c_Int32> ids;
  try {
    for (c_Int32 id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
  } catch (ccException const&) {
  }
  for (c_Int32 id : ids) {
    try {
      Pos const at = ar.findObject(id);
      if (!ccArchive::isValid(at)) continue;
      ar.seek(at);
      c_Int32 readId = 0;
      c_UInt64 size64 = 0;
      Pos pointerPos;
      ar.readObjectHeader64(readId, size64, pointerPos);
      if (ccArchive::isValid(pointerPos)) {
        ar.seek(pointerPos);
        ar.pointerObjectID();
        ar.seek(at);
      }
      try {
        c_UInt32 size32 = 0;
        ar.readObjectHeader(readId, size32, pointerPos);
      } catch (ccException const&) {
      }
      ar.objectTypeName();
      loaded.root(ar.loadObject());
      if (c.freeEarly) loaded.freeOthersEarly();
    } catch (ccException const&) {
    }
  }
}

void walkPointers(ccArchive& ar, Loaded& loaded) {
  std::vector<Pos> positions;
  try {
    for (Pos p = ar.firstPointerPos(); ccArchive::isValid(p);) {
      positions.push_back(p);
      ar.seek(p);
      ar.pointerObjectID();
      p = ar.nextPointerPos();
    }
  } catch (ccException const&) {
  }
  for (Pos p : positions) {
    try {
      ar.seek(p);
      readPointer(ar, loaded);
    } catch (ccException const&) {
    }
  }
}

// A copy of the bytes in a buffer of their exact size, so that any read past
// the end is a sanitizer report; with the head's seekable bit set as asked.
std::unique_ptr<char[]> copyOf(uint8_t const* data, size_t size, int seekableBit) {
  std::unique_ptr<char[]> copy(new char[size]);
  if (size) std::memcpy(copy.get(), data, size);
  if (size && seekableBit >= 0) copy[0] = static_cast<char>((copy[0] & ~1) | seekableBit);
  return copy;
}

void load(uint8_t const* data, size_t size, bool seekable, Control const& c) {
  Loaded loaded;
  std::unique_ptr<char[]> bytes = copyOf(data, size, c.fixHead ? (seekable ? 1 : 0) : -1);
  {
    std::unique_ptr<ccMemoryArchive> ar;
    try {
      // With ownership the archive frees the bytes, also when its
      // constructor fails.
      char const* raw = c.giveOwnership ? bytes.release() : bytes.get();
      ar = std::make_unique<ccMemoryArchive>(raw, static_cast<c_Int32>(size), seekable, c.giveOwnership);
    } catch (ccException const&) {
      return;
    }
    Pos start;
    try {
      start = ar->tell();
    } catch (ccException const&) {
      return;
    }
    if (seekable) {
      walkMarks(*ar, c, loaded);
      walkObjects(*ar, c, loaded);
      walkPointers(*ar, loaded);
      try {
        ar->seek(start);
      } catch (ccException const&) {
      }
    }
    readLoop(*ar, c, loaded);
    if (c.freeEarly) loaded.freeOthersEarly();
  }
  loaded.checkAndFreeAll();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 1 || size > 0x7FFFFFFF) return 0;
  Control const c = controlOf(data[0]);
  load(data + 1, size - 1, false, c);
  load(data + 1, size - 1, true, c);
  return 0;
}
