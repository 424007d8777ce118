#include "archive_ls.h"

#include <fstream>

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
  for (c_Int32 id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) {
    ccArchive::Pos const at = ar.findObject(id);
    ar.seek(at);
    c_Int32 got = 0;
    c_UInt64 bytes = 0;
    ccArchive::Pos pointer;
    ar.readObjectHeader64(got, bytes, pointer);
    std::string const type = ar.objectTypeName();
    out << "object " << got << " type " << (type.empty() ? "-" : type) << " size " << bytes << " pointer-offset "
        << (ccArchive::isValid(pointer) ? std::streamoff(pointer) - std::streamoff(at) : 0) << " pos "
        << std::streamoff(at) << "\n";
  }
  for (ccArchive::Pos p = ar.firstPointerPos(); ccArchive::isValid(p);) {
    ar.seek(p);
    cc_ArchiveIO::PointerRecord const r = cc_ArchiveIO::readPointer(ar);
    out << "pointer pos " << std::streamoff(p) << " id " << r.id << " flag " << int(r.flag) << "\n";
    p = r.next;
  }
}
