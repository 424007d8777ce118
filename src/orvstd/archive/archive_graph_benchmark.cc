// Store and load speed of an object graph: 100,000 objects reached through
// tracked pointers, with shared objects and cycles, beside Boost.Serialization
// with tracked polymorphic pointers on the same graph when it is installed.
//
// The graph: nodes in clusters of 64. A node's left link leads to a node of
// its own cluster, so clusters are full of cycles; its right link leads to a
// node of an earlier cluster, so early nodes are shared by many. Every node
// is also stored as a root, in order, which keeps the nesting depth at most
// one cluster. Every load is checked against the graph it came from, outside
// the timing.
#include <benchmark/benchmark.h>

#include <random>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"

#ifdef ORVSTD_HAVE_BOOST_SERIALIZATION
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#endif

class ccBenchGraphNode : public ccPersistent {
 public:
  c_Int32 value = 0;
  double weight = 0;
  ccPersistent* left = nullptr;
  ccPersistent* right = nullptr;

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccBenchGraphNode), 0, [&](unsigned char v) { serialize_(ar, v); });
  }
  void serialize_(ccArchive& ar, unsigned char version) {
    cfCheckClassVersion(version, 0, "archive_graph_benchmark", __LINE__);
    ccPersistent::dispatchSerialize(ar);
    ar || value || weight;
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, left, out);
    if (ar.isLoading()) left = out;
    ccPersistent::serializePointer(ar, right, out);
    if (ar.isLoading()) right = out;
  }
};
static cc_Instantiator const benchGraphNodeInstantiator(typeid(ccBenchGraphNode), &cf_MakeNothrow<ccBenchGraphNode>);

namespace {

constexpr int kNodes = 100000;
constexpr int kCluster = 64;

// Node i's links as indices, from a fixed seed; raw generator bits only, so
// the graph is the same with every standard library.
struct Shape {
  std::vector<int> left, right;
};
Shape const& shape() {
  static Shape const s = [] {
    std::mt19937_64 gen(20261121);
    Shape g;
    g.left.resize(kNodes);
    g.right.resize(kNodes);
    for (int i = 0; i < kNodes; ++i) {
      int const start = i - i % kCluster;
      int const size = std::min(kCluster, kNodes - start);
      g.left[i] = start + static_cast<int>(gen() % static_cast<unsigned>(size));
      g.right[i] = start > 0 ? static_cast<int>(gen() % static_cast<unsigned>(start))
                             : static_cast<int>(gen() % static_cast<unsigned>(size));
    }
    return g;
  }();
  return s;
}

double weightOf(int i) { return i * 0.25 - 1000.0; }

// Loaded roots are checked by their values: root i must hold value i, and
// its links must be the very objects loaded as the roots they stood for.
template <class Node, class Base>
bool sameGraph(std::vector<Base*> const& roots) {
  Shape const& g = shape();
  if (roots.size() != static_cast<std::size_t>(kNodes)) return false;
  for (int i = 0; i < kNodes; ++i) {
    auto const* n = dynamic_cast<Node const*>(roots[i]);
    if (n == nullptr || n->value != i || n->weight != weightOf(i)) return false;
    if (n->left != roots[g.left[i]] || n->right != roots[g.right[i]]) return false;
  }
  return true;
}

void report(benchmark::State& state, std::size_t bytes) {
  auto const it = static_cast<std::int64_t>(state.iterations());
  state.SetItemsProcessed(it * kNodes);
  state.counters["archive_MB"] = static_cast<double>(bytes) / 1e6;
}

// ours -----------------------------------------------------------------------

// The same graph for either side: Base is what the links point to.
template <class Node, class Base>
std::vector<Node> buildGraph() {
  std::vector<Node> v(kNodes);
  Shape const& g = shape();
  for (int i = 0; i < kNodes; ++i) {
    v[i].value = i;
    v[i].weight = weightOf(i);
    v[i].left = static_cast<Base*>(&v[g.left[i]]);
    v[i].right = static_cast<Base*>(&v[g.right[i]]);
  }
  return v;
}

std::vector<ccBenchGraphNode>& ourGraph() {
  static std::vector<ccBenchGraphNode> nodes = buildGraph<ccBenchGraphNode, ccPersistent>();
  return nodes;
}

void storeOurs(ccArchive& ar) {
  c_Int32 n = kNodes;
  ar << n;
  for (ccBenchGraphNode& node : ourGraph()) {
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, &node, out);
  }
}

std::vector<char> storedOurs(bool seekable) {
  ccMemoryArchive ar(ccArchive::eLsbFirst, seekable);
  storeOurs(ar);
  return std::vector<char>(ar.storage(), ar.storage() + ar.size());
}

// Argument: 0 a plain archive, 1 a seekable one (record chains patched in place).
void BM_OursGraphStore(benchmark::State& state) {
  bool const seekable = state.range(0) != 0;
  std::size_t bytes = 0;
  for (auto _ : state) {
    ccMemoryArchive ar(ccArchive::eLsbFirst, seekable);
    storeOurs(ar);
    bytes = ar.size();
    benchmark::DoNotOptimize(ar.storage());
  }
  report(state, bytes);
}

void BM_OursGraphLoad(benchmark::State& state) {
  bool const seekable = state.range(0) != 0;
  std::vector<char> const stored = storedOurs(seekable);
  std::vector<ccPersistent*> roots;
  for (auto _ : state) {
    {
      ccMemoryArchive ar(stored.data(), static_cast<c_Int32>(stored.size()), seekable, false);
      c_Int32 n = 0;
      ar >> n;
      roots.assign(static_cast<std::size_t>(n), nullptr);
      for (ccPersistent*& root : roots) ccPersistent::serializePointer(ar, nullptr, root);
    }
    state.PauseTiming();
    bool const ok = sameGraph<ccBenchGraphNode>(roots);
    for (ccPersistent* root : roots) delete root;
    state.ResumeTiming();
    if (!ok) {
      state.SkipWithError("loaded graph differs from the stored one");
      break;
    }
  }
  report(state, stored.size());
}

BENCHMARK(BM_OursGraphStore)->ArgName("seekable")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OursGraphLoad)->ArgName("seekable")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Boost.Serialization ------------------------------------------------------------

#ifdef ORVSTD_HAVE_BOOST_SERIALIZATION

// Links are pointers to a polymorphic base, so Boost tracks them and
// writes the class of each object, as our archive writes its type name.
struct BoostNodeBase {
  virtual ~BoostNodeBase() = default;
  template <class Archive>
  void serialize(Archive&, unsigned) {}
};

struct BoostNode : BoostNodeBase {
  c_Int32 value = 0;
  double weight = 0;
  BoostNodeBase* left = nullptr;
  BoostNodeBase* right = nullptr;

  template <class Archive>
  void serialize(Archive& ar, unsigned) {
    ar & boost::serialization::base_object<BoostNodeBase>(*this);
    ar & value & weight & left & right;
  }
};

std::vector<BoostNode>& boostGraph() {
  static std::vector<BoostNode> nodes = buildGraph<BoostNode, BoostNodeBase>();
  return nodes;
}

void storeBoost(boost::archive::binary_oarchive& ar) {
  ar.register_type<BoostNode>();
  c_Int32 n = kNodes;
  ar << n;
  for (BoostNode& node : boostGraph()) {
    BoostNodeBase* p = &node;
    ar << p;
  }
}

void BM_BoostGraphStore(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::stringstream ss(std::ios::in | std::ios::out | std::ios::binary);
    {
      boost::archive::binary_oarchive ar(ss);
      storeBoost(ar);
    }
    bytes = static_cast<std::size_t>(ss.tellp());
    benchmark::DoNotOptimize(ss);
  }
  report(state, bytes);
}

void BM_BoostGraphLoad(benchmark::State& state) {
  std::string stored;
  {
    std::stringstream ss(std::ios::in | std::ios::out | std::ios::binary);
    {
      boost::archive::binary_oarchive ar(ss);
      storeBoost(ar);
    }
    stored = ss.str();
  }
  std::vector<BoostNodeBase*> roots;
  for (auto _ : state) {
    state.PauseTiming();
    // The stream holds its own copy of the bytes; making it is not timed.
    std::stringstream ss(stored, std::ios::in | std::ios::binary);
    state.ResumeTiming();
    {
      boost::archive::binary_iarchive ar(ss);
      ar.register_type<BoostNode>();
      c_Int32 n = 0;
      ar >> n;
      roots.assign(static_cast<std::size_t>(n), nullptr);
      for (BoostNodeBase*& root : roots) ar >> root;
    }
    state.PauseTiming();
    bool const ok = sameGraph<BoostNode>(roots);
    for (BoostNodeBase* root : roots) delete root;
    state.ResumeTiming();
    if (!ok) {
      state.SkipWithError("loaded graph differs from the stored one");
      break;
    }
  }
  report(state, stored.size());
}

BENCHMARK(BM_BoostGraphStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoostGraphLoad)->Unit(benchmark::kMillisecond);

#endif  // ORVSTD_HAVE_BOOST_SERIALIZATION

}  // namespace
