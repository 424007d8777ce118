#include "archive_ls.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/persistent.h"

// A node with two pointers, for listings of graphs.
class ccLsNode : public ccPersistent {
 public:
  ccPersistent* left = nullptr;
  ccPersistent* right = nullptr;

 protected:
  void dispatchSerialize(ccArchive& ar) override {
    dispatchVersioned_(ar, this, sizeof(ccLsNode), 0, [&](unsigned char) {
      ccPersistent::dispatchSerialize(ar);
      ccPersistent* out = nullptr;
      serializePointer(ar, left, out);
      serializePointer(ar, right, out);
    });
  }
};
static cc_Instantiator const lsNodeInstantiator(typeid(ccLsNode), &cf_MakeNothrow<ccLsNode>);

namespace {

std::string const kDir = ::testing::TempDir();

// A seekable archive with marks 1, 2 and 4, one object and three pointers
// (the first sight, a reference and a null).
std::string writeSample(std::string const& name) {
  std::string const path = kDir + name;
  ccFileArchive ar(path, ccArchive::eStore, ccArchive::eLsbFirst, true);
  ar.writeNewMark(1);
  ar.writeNewMark(2);
  ar.writeNewMark(4);
  ccAssertFailure object;
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, &object, out);
  ccPersistent::serializePointer(ar, &object, out);
  ccPersistent::serializePointer(ar, nullptr, out);
  return path;
}

TEST(ArchiveLs, ListsHeadMarksObjectsAndPointers) {
  std::string const path = writeSample("orv_ls_sample.arc");
  std::ostringstream out;
  cfArchiveList(path, out);
  EXPECT_EQ(out.str(),
            "head version 1 ordering lsb seekable 1 closed 1\n"
            "mark 1 pos 95\n"
            "mark 2 pos 121\n"
            "mark 4 pos 147\n"
            "object 1 type ccAssertFailure size 64 pointer-offset 0 pos 191 refers -\n"
            "pointer pos 173 id 1 flag 1\n"
            "pointer pos 255 id 1 flag 0\n"
            "pointer pos 273 id 0 flag 0\n");
  std::remove(path.c_str());
}

// Each object lists the targets of the pointers in its own record, not
// those of the objects nested in it: a -> (b, c), b -> (a, null),
// c -> (b, null), stored from a.
TEST(ArchiveLs, ObjectsListTheTargetsOfTheirOwnPointers) {
  std::string const path = kDir + "orv_ls_graph.arc";
  {
    ccLsNode a, b, c;
    a.left = &b;
    a.right = &c;
    b.left = &a;
    c.left = &b;
    ccFileArchive ar(path, ccArchive::eStore, ccArchive::eLsbFirst, true);
    ccPersistent* out = nullptr;
    ccPersistent::serializePointer(ar, &a, out);
  }
  std::ostringstream out;
  cfArchiveList(path, out);
  std::istringstream lines(out.str());
  std::vector<std::string> objects;
  for (std::string line; std::getline(lines, line);)
    if (line.rfind("object ", 0) == 0) objects.push_back(line);
  ASSERT_EQ(objects.size(), 3u) << out.str();
  auto endsWith = [](std::string const& s, std::string const& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
  };
  EXPECT_EQ(objects[0].rfind("object 1 type ccLsNode ", 0), 0u) << objects[0];
  EXPECT_TRUE(endsWith(objects[0], " refers 2 3")) << objects[0];
  EXPECT_EQ(objects[1].rfind("object 2 type ccLsNode ", 0), 0u) << objects[1];
  EXPECT_TRUE(endsWith(objects[1], " refers 1 null")) << objects[1];
  EXPECT_EQ(objects[2].rfind("object 3 type ccLsNode ", 0), 0u) << objects[2];
  EXPECT_TRUE(endsWith(objects[2], " refers 2 null")) << objects[2];
  std::remove(path.c_str());
}

TEST(ArchiveLs, PlainArchiveShowsHeadAndSize) {
  std::string const path = kDir + "orv_ls_plain.arc";
  {
    ccFileArchive ar(path, ccArchive::eStore, ccArchive::eMsbFirst);
    ar << c_Int32{5} << std::string("abc");
  }
  std::ostringstream out;
  cfArchiveList(path, out);
  EXPECT_EQ(out.str(), "head version 1 ordering msb seekable 0\nsize 12\n");
  std::remove(path.c_str());
}

TEST(ArchiveLs, DamagedFileReportsTheTypedErrorAndFails) {
  std::string const path = writeSample("orv_ls_damaged.arc");
  std::string bytes;
  {
    std::ifstream in(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  bytes[121] = 0x00;  // mark 2 loses its magic
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  std::string const errFile = kDir + "orv_ls_err.txt";
  std::string const cmd = std::string(ORV_TOOL) + " archive ls " + path + " >/dev/null 2>" + errFile;
  int const status = std::system(cmd.c_str());
  EXPECT_NE(status, 0);
  std::ifstream err(errFile);
  std::string text((std::istreambuf_iterator<char>(err)), {});
  EXPECT_NE(text.find("ccArchive::BadContent: thrown from file: archutil, line: 363"), std::string::npos) << text;
  std::remove(path.c_str());
  std::remove(errFile.c_str());
}

}  // namespace
