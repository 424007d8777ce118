#include "archive_ls.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <vector>

#include "orvstd/archive/archive.h"
#include "orvstd/archive/internal/archive_io.h"

void cfArchiveList(std::string const& path, std::ostream& out) {
  unsigned char head[2] = {0, 0};
  std::streamoff size = 0;
  {
    std::ifstream raw(path, std::ios::binary);
    if (!raw) throw ccArchive::BadFile("Could not open file: " + path, 0);
    raw.read(reinterpret_cast<char*>(head), 2);
    raw.seekg(0, std::ios::end);
    size = raw.tellg();
  }
  bool const seekable = (head[0] & 1) != 0;
  ccFileArchive ar(path, ccArchive::eLoad, ccArchive::eLsbFirst, seekable, true);
  out << "head version " << ar.version() << " ordering " << (ar.ordering() == ccArchive::eMsbFirst ? "msb" : "lsb")
      << " seekable " << (seekable ? 1 : 0);
  if (!seekable) {
    out << "\nsize " << size << "\n";
    return;
  }
  cc_ArchiveRep& rep = cc_ArchiveIO::rep(ar);
  ar.seek(rep.closedFlag);
  c_Int32 closed = -1;
  ar >> closed;
  out << " closed " << (closed == 0 ? 1 : 0) << "\n";

  for (c_Int32 m = ar.firstMarkNum(); m != 0; m = ar.nextMarkNum(m))
    out << "mark " << m << " pos " << std::streamoff(ar.findMark(m)) << "\n";
  // Objects in file order, with where their records end, so that each
  // pointer record can be given to the innermost object that holds it.
  struct Object {
    std::streamoff start, end;
    std::string line;
    std::vector<c_Int32> targets;
  };
  std::vector<Object> objects;
  for (c_Int32 id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) {
    ccArchive::Pos const at = ar.findObject(id);
    ar.seek(at);
    c_Int32 got = 0;
    c_UInt64 bytes = 0;
    ccArchive::Pos pointer;
    ar.readObjectHeader64(got, bytes, pointer);
    std::string const type = ar.objectTypeName();
    std::ostringstream line;
    line << "object " << got << " type " << (type.empty() ? "-" : type) << " size " << bytes << " pointer-offset "
         << (ccArchive::isValid(pointer) ? std::streamoff(pointer) - std::streamoff(at) : 0) << " pos "
         << std::streamoff(at);
    std::streamoff const start = std::streamoff(at);
    // A size past any position is damage; clamp so the sweep stays sane.
    std::streamoff const end =
        bytes > static_cast<c_UInt64>(size) ? size : start + static_cast<std::streamoff>(bytes);
    objects.push_back({start, end, line.str(), {}});
  }
  struct Pointer {
    std::streamoff pos;
    c_Int32 id;
    int flag;
  };
  std::vector<Pointer> pointers;
  for (ccArchive::Pos p = ar.firstPointerPos(); ccArchive::isValid(p);) {
    ar.seek(p);
    cc_ArchiveIO::PointerRecord const r = cc_ArchiveIO::readPointer(ar);
    pointers.push_back({std::streamoff(p), r.id, int(r.flag)});
    p = r.next;
  }

  // One sweep in file order: records nest, so the open objects form a stack.
  std::vector<std::size_t> byStart(objects.size());
  for (std::size_t i = 0; i < byStart.size(); ++i) byStart[i] = i;
  std::stable_sort(byStart.begin(), byStart.end(),
                   [&](std::size_t a, std::size_t b) { return objects[a].start < objects[b].start; });
  std::vector<std::size_t> byPos(pointers.size());
  for (std::size_t i = 0; i < byPos.size(); ++i) byPos[i] = i;
  std::stable_sort(byPos.begin(), byPos.end(),
                   [&](std::size_t a, std::size_t b) { return pointers[a].pos < pointers[b].pos; });
  std::vector<std::size_t> open;
  std::size_t next = 0;
  for (std::size_t pi : byPos) {
    std::streamoff const pos = pointers[pi].pos;
    while (next < byStart.size() && objects[byStart[next]].start <= pos) {
      while (!open.empty() && objects[open.back()].end <= objects[byStart[next]].start) open.pop_back();
      open.push_back(byStart[next++]);
    }
    while (!open.empty() && objects[open.back()].end <= pos) open.pop_back();
    if (!open.empty()) objects[open.back()].targets.push_back(pointers[pi].id);
  }

  for (Object const& o : objects) {
    out << o.line << " refers";
    if (o.targets.empty()) out << " -";
    for (c_Int32 t : o.targets) {
      out << ' ';
      if (t == 0) out << "null";
      else out << t;
    }
    out << "\n";
  }
  for (Pointer const& p : pointers) out << "pointer pos " << p.pos << " id " << p.id << " flag " << p.flag << "\n";
}
