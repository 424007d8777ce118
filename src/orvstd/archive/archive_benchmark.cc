// Store and load speed of plain archives, in memory and to a file, on a fixed
// mix of numbers and short strings; with Boost.Serialization's binary
// archives on the same data for comparison when it is installed.
//
// Every load is checked against the data it came from, outside the timing,
// so that a fast wrong answer cannot win.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orvstd/archive/archive.h"

#ifdef ORVSTD_HAVE_BOOST_SERIALIZATION
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/string.hpp>
#endif

namespace {

constexpr std::size_t kRecords = 1000000;
constexpr int kValuesPerRecord = 7;

struct Record {
  c_Int32 i32 = 0;
  double d = 0;
  c_UInt16 u16 = 0;
  bool b = false;
  float f = 0;
  c_Int64 i64 = 0;
  std::string s;

  bool operator==(Record const&) const = default;
};

// Built once from a fixed seed; raw generator bits only, so the mix is the
// same with every standard library.
std::vector<Record> const& records() {
  static std::vector<Record> const data = [] {
    std::mt19937_64 gen(20240611);
    std::vector<Record> v(kRecords);
    for (Record& r : v) {
      r.i32 = static_cast<c_Int32>(gen());
      r.d = static_cast<double>(static_cast<c_Int64>(gen())) / 3.0;
      r.u16 = static_cast<c_UInt16>(gen());
      r.b = (gen() & 1) != 0;
      r.f = static_cast<float>(static_cast<c_Int32>(gen())) / 7.0f;
      r.i64 = static_cast<c_Int64>(gen());
      std::size_t const len = gen() % 41;  // 0..40 chars
      r.s.resize(len);
      for (char& c : r.s) c = static_cast<char>(' ' + gen() % 95);
    }
    return v;
  }();
  return data;
}

// A fresh file name per process, removed at exit.
struct TempFile {
  std::string path = (std::filesystem::temp_directory_path() /
                      ("orvstd_archive_benchmark_" + std::to_string(::getpid()) + ".bin"))
                         .string();
  ~TempFile() { std::remove(path.c_str()); }
};
std::string const& tempPath() {
  static TempFile file;
  return file.path;
}

void report(benchmark::State& state, std::size_t bytes) {
  auto const it = static_cast<std::int64_t>(state.iterations());
  state.SetItemsProcessed(it * static_cast<std::int64_t>(kRecords));
  state.SetBytesProcessed(it * static_cast<std::int64_t>(bytes));
  state.counters["values/s"] =
      benchmark::Counter(static_cast<double>(it) * kRecords * kValuesPerRecord, benchmark::Counter::kIsRate);
  state.counters["archive_MB"] = static_cast<double>(bytes) / 1e6;
}

// Loads land in default records, as in a real reader; the reset and the
// check are not timed.
void resetTarget(std::vector<Record>& out) { out.assign(kRecords, Record{}); }
bool checkLoaded(benchmark::State& state, std::vector<Record> const& out) {
  if (out == records()) return true;
  state.SkipWithError("loaded data differ from stored data");
  return false;
}

// ours -----------------------------------------------------------------------

void storeOurs(ccArchive& ar, std::vector<Record> const& data) {
  for (Record const& r : data) ar << r.i32 << r.d << r.u16 << r.b << r.f << r.i64 << r.s;
}

// The same through ||, which needs no copy of each value.
void storeOursInPlace(ccArchive& ar, std::vector<Record>& data) {
  for (Record& r : data) ar || r.i32 || r.d || r.u16 || r.b || r.f || r.i64 || r.s;
}

void loadOurs(ccArchive& ar, std::vector<Record>& out) {
  for (Record& r : out) ar >> r.i32 >> r.d >> r.u16 >> r.b >> r.f >> r.i64 >> r.s;
}

ccArchive::Ordering orderingOf(benchmark::State const& state) {
  return state.range(0) != 0 ? ccArchive::eMsbFirst : ccArchive::eLsbFirst;
}

std::vector<char> storedInMemory(ccArchive::Ordering ordering) {
  ccMemoryArchive ar(ordering, false);
  storeOurs(ar, records());
  return std::vector<char>(ar.storage(), ar.storage() + ar.size());
}

void BM_OursMemoryStore(benchmark::State& state) {
  auto const& data = records();
  auto const ordering = orderingOf(state);
  std::size_t bytes = 0;
  for (auto _ : state) {
    ccMemoryArchive ar(ordering, false);
    storeOurs(ar, data);
    bytes = ar.size();
    benchmark::DoNotOptimize(ar.storage());
  }
  report(state, bytes);
}

void BM_OursMemoryStoreInPlace(benchmark::State& state) {
  std::vector<Record> data = records();
  auto const ordering = orderingOf(state);
  std::size_t bytes = 0;
  for (auto _ : state) {
    ccMemoryArchive ar(ordering, false);
    storeOursInPlace(ar, data);
    bytes = ar.size();
    benchmark::DoNotOptimize(ar.storage());
  }
  report(state, bytes);
}

void BM_OursMemoryLoad(benchmark::State& state) {
  std::vector<char> const stored = storedInMemory(orderingOf(state));
  std::vector<Record> out;
  for (auto _ : state) {
    state.PauseTiming();
    resetTarget(out);
    state.ResumeTiming();
    {
      ccMemoryArchive ar(stored.data(), static_cast<c_Int32>(stored.size()), false, false);
      loadOurs(ar, out);
    }
    state.PauseTiming();
    bool const ok = checkLoaded(state, out);
    state.ResumeTiming();
    if (!ok) break;
  }
  report(state, stored.size());
}

void BM_OursFileStore(benchmark::State& state) {
  auto const& data = records();
  std::string const& path = tempPath();
  for (auto _ : state) {
    ccFileArchive ar(path, ccArchive::eStore, ccArchive::eLsbFirst, false, false);
    storeOurs(ar, data);
  }
  report(state, std::filesystem::file_size(path));
}

void BM_OursFileLoad(benchmark::State& state) {
  std::string const& path = tempPath();
  {
    ccFileArchive ar(path, ccArchive::eStore, ccArchive::eLsbFirst, false, false);
    storeOurs(ar, records());
  }
  std::vector<Record> out;
  for (auto _ : state) {
    state.PauseTiming();
    resetTarget(out);
    state.ResumeTiming();
    {
      ccFileArchive ar(path, ccArchive::eLoad, ccArchive::eLsbFirst, false, true);
      loadOurs(ar, out);
    }
    state.PauseTiming();
    bool const ok = checkLoaded(state, out);
    state.ResumeTiming();
    if (!ok) break;
  }
  report(state, std::filesystem::file_size(path));
}

// Argument: 0 stores least significant byte first (the host's order, no
// swapping), 1 most significant first (every number swapped).
BENCHMARK(BM_OursMemoryStore)->ArgName("swap")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OursMemoryStoreInPlace)->ArgName("swap")->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OursMemoryLoad)->ArgName("swap")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OursFileStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OursFileLoad)->Unit(benchmark::kMillisecond);

// Boost.Serialization ------------------------------------------------------------

#ifdef ORVSTD_HAVE_BOOST_SERIALIZATION

void storeBoost(boost::archive::binary_oarchive& ar, std::vector<Record> const& data) {
  for (Record const& r : data) ar << r.i32 << r.d << r.u16 << r.b << r.f << r.i64 << r.s;
}

void loadBoost(boost::archive::binary_iarchive& ar, std::vector<Record>& out) {
  for (Record& r : out) ar >> r.i32 >> r.d >> r.u16 >> r.b >> r.f >> r.i64 >> r.s;
}

void BM_BoostMemoryStore(benchmark::State& state) {
  auto const& data = records();
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::stringstream ss(std::ios::in | std::ios::out | std::ios::binary);
    {
      boost::archive::binary_oarchive ar(ss);
      storeBoost(ar, data);
    }
    bytes = static_cast<std::size_t>(ss.tellp());
    benchmark::DoNotOptimize(ss);
  }
  report(state, bytes);
}

void BM_BoostMemoryLoad(benchmark::State& state) {
  std::string stored;
  {
    std::stringstream ss(std::ios::in | std::ios::out | std::ios::binary);
    {
      boost::archive::binary_oarchive ar(ss);
      storeBoost(ar, records());
    }
    stored = ss.str();
  }
  std::vector<Record> out;
  for (auto _ : state) {
    state.PauseTiming();
    resetTarget(out);
    // The stream holds its own copy of the bytes; making it is not timed.
    std::stringstream ss(stored, std::ios::in | std::ios::binary);
    state.ResumeTiming();
    {
      boost::archive::binary_iarchive ar(ss);
      loadBoost(ar, out);
    }
    state.PauseTiming();
    bool const ok = checkLoaded(state, out);
    state.ResumeTiming();
    if (!ok) break;
  }
  report(state, stored.size());
}

void BM_BoostFileStore(benchmark::State& state) {
  auto const& data = records();
  std::string const& path = tempPath();
  for (auto _ : state) {
    std::ofstream os(path, std::ios::out | std::ios::binary | std::ios::trunc);
    {
      boost::archive::binary_oarchive ar(os);
      storeBoost(ar, data);
    }
    os.close();
    if (!os) {
      state.SkipWithError("writing the file failed");
      break;
    }
  }
  report(state, std::filesystem::file_size(path));
}

void BM_BoostFileLoad(benchmark::State& state) {
  std::string const& path = tempPath();
  {
    std::ofstream os(path, std::ios::out | std::ios::binary | std::ios::trunc);
    boost::archive::binary_oarchive ar(os);
    storeBoost(ar, records());
  }
  std::vector<Record> out;
  for (auto _ : state) {
    state.PauseTiming();
    resetTarget(out);
    state.ResumeTiming();
    {
      std::ifstream is(path, std::ios::in | std::ios::binary);
      boost::archive::binary_iarchive ar(is);
      loadBoost(ar, out);
    }
    state.PauseTiming();
    bool const ok = checkLoaded(state, out);
    state.ResumeTiming();
    if (!ok) break;
  }
  report(state, std::filesystem::file_size(path));
}

BENCHMARK(BM_BoostMemoryStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoostMemoryLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoostFileStore)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoostFileLoad)->Unit(benchmark::kMillisecond);

#endif  // ORVSTD_HAVE_BOOST_SERIALIZATION

}  // namespace
