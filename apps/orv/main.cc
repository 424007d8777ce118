// orv: the kit's command-line tool over orvstd.
//
//   orv demo              the failure model at work
//   orv archive ls FILE   the head and records of an archive file
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "archive_ls.h"
#include "orvstd.h"
#include "orvstd/kernel/kstd.h"
#include "orvstd/kernel/ksys_memory.h"
#include "orvstd/util/strings.h"

namespace {

// Runs a kernel-style call and shows what its failure code becomes.
void showConversion(char const* what, c_Int32 code) {
  std::cout << what << "\n  kernel code 0x" << cfHex(code, 8) << " (facility " << kstd_facilityOf(code)
            << ", index " << (code & 0x1F) << ")\n";
  try {
    cfThrowExceptionOnFailure(code);
    std::cout << "  -> no exception\n";
  } catch (ccException const& e) {
    std::cout << "  -> " << e.message(true) << "\n     errorNumber 0x" << cfHex(e.errorNumber(), 8) << "\n";
  } catch (std::bad_alloc const&) {
    std::cout << "  -> std::bad_alloc\n";
  }
}

int demo() {
  std::cout << "orvstd failure model: kernel failure codes become typed exceptions\n\n";
  void* block = nullptr;
  c_Int32 rc = ksys_memory_alloc(~std::size_t{0} / 2, 32, &block);
  showConversion("ksys_memory_alloc of an impossible size", rc);
  showConversion("a code no converter knows", kstd_failureCode(255, 31));
  showConversion("success", 0);

  showConversion("a failed decomposition", kstd_failureCode(44, 2));
  showConversion("an image warp given no image", kstd_failureCode(63, 2));
  showConversion("an image warp code with no row", kstd_failureCode(63, 30));

  std::cout << "\nan exception travels through an archive and is raised again as its own type\n";
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  ccArchive::UnknownType sent("ccSpline<long>", "archutil", 2136);
  ccPersistent* ignored = nullptr;
  ccPersistent::serializePointer(out, &sent, ignored);
  std::cout << "  sent:     " << sent.message(true) << " (" << out.size() << " bytes)\n";
  ccMemoryArchive in(out.storage(), static_cast<c_Int32>(out.size()), false, false);
  ccPersistent* loaded = nullptr;
  ccPersistent::serializePointer(in, nullptr, loaded);
  try {
    dynamic_cast<ccException*>(loaded)->suicideAndRethrow();
  } catch (ccArchive::UnknownType const& e) {
    std::cout << "  caught:   " << e.message(true) << "\n";
  }
  return 0;
}

int usage() {
  std::cerr << "usage: orv demo\n       orv archive ls FILE\n";
  return 2;
}

int archiveLs(char const* path) {
  try {
    cfArchiveList(path, std::cout);
    return 0;
  } catch (ccException const& e) {
    std::cout.flush();
    std::cerr << "orv: " << path << ": " << e.message(true) << "\n";
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  std::string const cmd = argv[1];
  if (cmd == "demo") return demo();
  if (cmd == "archive" && argc == 4 && std::string(argv[2]) == "ls") return archiveLs(argv[3]);
  return usage();
}
