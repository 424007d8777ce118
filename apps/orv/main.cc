// orv: the kit's command-line tool over orvstd.
//
//   orv demo              the failure model at work
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

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

  std::cout << "\nan exception travels through an archive and is thrown again as its own type\n";
  ccMemoryArchive out(ccArchive::eLsbFirst, false);
  std::string info = "bad seed";
  ccAssertFailure sent(info);
  std::cout << "  sent:     " << sent.message(true) << "\n";
  return 0;
}

int usage() {
  std::cerr << "usage: orv demo\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return usage();
  std::string const cmd = argv[1];
  if (cmd == "demo") return demo();
  return usage();
}
