// A persistent node with a number, a label and two links, for tests and the
// archive fuzzer: it makes object graphs with shared objects, cycles and
// records nested in records. Test-only.
//
// A node never owns what its links point to, since a loaded graph may share
// or loop. Every live node is listed instead, so a test frees whatever a
// load left behind with deleteAllNodes(), whatever its shape.
#ifndef ORVSTD_ARCHIVE_TESTING_GRAPH_NODE_H_
#define ORVSTD_ARCHIVE_TESTING_GRAPH_NODE_H_

#include <set>
#include <string>
#include <typeinfo>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"

class ccArchiveTestNode : public ccPersistent {
 public:
  ccArchiveTestNode() { live().insert(this); }
  ccArchiveTestNode(ccArchiveTestNode const&) = delete;
  ccArchiveTestNode& operator=(ccArchiveTestNode const&) = delete;
  ~ccArchiveTestNode() override { live().erase(this); }

  c_Int32 value = 0;
  std::string label;
  // Any persistent object may come back through a link, not only nodes.
  ccPersistent* left = nullptr;
  ccPersistent* right = nullptr;

  static std::set<ccArchiveTestNode*>& live() {
    static std::set<ccArchiveTestNode*> nodes;
    return nodes;
  }
  static void deleteAllNodes() {
    while (!live().empty()) delete *live().begin();
  }

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccArchiveTestNode), 0, [&](unsigned char v) { serialize_(ar, v); });
  }
  void serialize_(ccArchive& ar, unsigned char version) {
    cfCheckClassVersion(version, 0, "graph_node", __LINE__);
    ccPersistent::dispatchSerialize(ar);
    ar || value;
    ar || label;
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, left, out);
    if (ar.isLoading()) left = out;
    ccPersistent::serializePointer(ar, right, out);
    if (ar.isLoading()) right = out;
  }
};

inline cc_Instantiator const ccArchiveTestNodeInstantiator(typeid(ccArchiveTestNode),
                                                           &cf_MakeNothrow<ccArchiveTestNode>);

#endif  // ORVSTD_ARCHIVE_TESTING_GRAPH_NODE_H_
