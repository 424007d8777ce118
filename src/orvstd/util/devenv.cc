#include "orvstd/util/devenv.h"

#include <cxxabi.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

cmErrorFamilyDefine(ccDevEnv::Errors)
cmErrorDefine(ccDevEnv::UserCancelled)

namespace {

std::string replaceAll(std::string s, std::string const& from, std::string const& to) {
  for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
    s.replace(at, from.size(), to);
  return s;
}

bool isIdentStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool isIdentChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// A type_info name of this compiler is an Itanium mangled name: it starts
// with a digit (a plain class), or is a nested (N...E) or std (S...) name.
std::string demangleIfMangled(char const* name) {
  bool plausible = std::isdigit(static_cast<unsigned char>(name[0])) || name[0] == 'N' || name[0] == 'S';
  for (char const* p = name; *p && plausible; ++p) plausible = isIdentChar(*p);
  if (!plausible) return name;
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
  if (status != 0 || !text) return name;
  return text.get();
}

bool isIntegerWord(std::string const& w) {
  return w == "unsigned" || w == "signed" || w == "char" || w == "short" || w == "int" || w == "long" ||
         w == "wchar_t" || w == "char16_t" || w == "char32_t";
}

// Maps a run of this compiler's integer keywords to the canonical spelling:
// 32-bit integers are "long", 64-bit ones "__int64", and every 16-bit
// character type "unsigned short".
std::string canonicalInteger(std::vector<std::string> const& words) {
  bool isUnsigned = false, isSigned = false;
  int longs = 0;
  std::string base;
  for (auto const& w : words) {
    if (w == "unsigned")
      isUnsigned = true;
    else if (w == "signed")
      isSigned = true;
    else if (w == "long")
      ++longs;
    else
      base = w;
  }
  if (base == "wchar_t" || base == "char16_t") return "unsigned short";
  if (base == "char32_t") return "unsigned long";
  if (base == "char") return isUnsigned ? "unsigned char" : isSigned ? "signed char" : "char";
  if (base == "short") return isUnsigned ? "unsigned short" : "short";
  if (longs >= 1) return isUnsigned ? "unsigned __int64" : "__int64";  // LP64: long is 64 bits
  return isUnsigned ? "unsigned long" : "long";                          // int, signed, unsigned
}

// From g++'s demangled text to the canonical text.
std::string fromGnuText(std::string const& in) {
  std::string text = replaceAll(in, "std::__cxx11::", "std::");
  text = replaceAll(text, "(anonymous namespace)", "`anonymous namespace'");
  std::string out;
  std::size_t i = 0;
  while (i < text.size()) {
    char c = text[i];
    if (isIdentStart(c)) {
      std::size_t j = i;
      while (j < text.size() && isIdentChar(text[j])) ++j;
      std::string word = text.substr(i, j - i);
      if (!isIntegerWord(word)) {
        out += word;
        i = j;
        continue;
      }
      // Collect "unsigned long long" and the like as one run.
      std::vector<std::string> words{word};
      while (j < text.size() && text[j] == ' ') {
        std::size_t k = j + 1;
        std::size_t e = k;
        while (e < text.size() && isIdentChar(text[e])) ++e;
        std::string next = text.substr(k, e - k);
        if (next.empty() || !isIntegerWord(next)) break;
        words.push_back(next);
        j = e;
      }
      out += canonicalInteger(words);
      i = j;
    } else if (std::isdigit(static_cast<unsigned char>(c))) {
      // A template argument: drop the integer suffix g++ shows ("2u", "3ul").
      std::size_t j = i;
      while (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))) ++j;
      out.append(text, i, j - i);
      while (j < text.size() && (text[j] == 'u' || text[j] == 'l' || text[j] == 'U' || text[j] == 'L')) ++j;
      i = j;
    } else if (c == ',' && i + 1 < text.size() && text[i + 1] == ' ') {
      out += ',';
      i += 2;
    } else {
      out += c;
      ++i;
    }
  }
  return out;
}

}  // namespace

std::string ccDevEnv::canonicalTypeName(char const* name) {
  if (name == nullptr) return std::string();
  std::string text = demangleIfMangled(name);
  if (text != name) text = fromGnuText(text);
  // The rules of the original compiler's text; a no-op on what came above.
  text = replaceAll(text, "class ", "");
  text = replaceAll(text, "> ", ">");
  return replaceAll(text, "wchar_t", "unsigned short");
}

std::string ccDevEnv::nativeTypeName(std::string const& canonical) {
  static char const* const kBuiltins[] = {"unsigned char", "signed char", "char",          "unsigned short",
                                          "short",         "unsigned int", "int",          "unsigned long",
                                          "long",          "float",        "double"};
  std::string out;
  std::size_t i = 0;
  bool atIdentifier = true;  // at the start of a name: after <, > or ,
  while (i < canonical.size()) {
    char c = canonical[i];
    if (c == '<' || c == ',' || c == '>') {
      out += c;
      ++i;
      atIdentifier = true;
      continue;
    }
    if (atIdentifier && isIdentStart(c)) {
      bool builtin = false;
      for (char const* b : kBuiltins)
        if (canonical.compare(i, std::strlen(b), b) == 0) {
          builtin = true;
          break;
        }
      if (!builtin) out += "class ";
    }
    atIdentifier = false;
    out += c;
    ++i;
  }
  std::string spaced;
  for (std::size_t k = 0; k < out.size(); ++k) {
    spaced += out[k];
    if (out[k] == '>' && k + 1 < out.size() && out[k + 1] == '>') spaced += ' ';
  }
  return spaced;
}

int ccDevEnv::getByteOrder() {
  c_UInt32 const probe = 0x01020304;
  unsigned char first;
  std::memcpy(&first, &probe, 1);
  return first == 0x01 ? 0 : 1;
}
