// `orv archive ls FILE`: lists the head and the records of an archive file,
// one per line, in a form scripts can rely on:
//
//   head version 1 ordering lsb seekable 1 closed 1
//   mark 1 pos 95
//   object 1 type ccFoo size 60 pointer-offset 25 pos 113
//   pointer pos 158 id 1 flag 1
//
// A plain archive shows its head and its size ("size 1234").
#ifndef ORV_ARCHIVE_LS_H_
#define ORV_ARCHIVE_LS_H_

#include <ostream>
#include <string>

// Writes the listing; a damaged file raises its typed ccArchive error.
void cfArchiveList(std::string const& path, std::ostream& out);

#endif  // ORV_ARCHIVE_LS_H_
