// Replays saved fuzz inputs through the fuzzer's harness in an ordinary build, so that an input
// that once crashed keeps being run by every test run.
//
// Usage: warden_script_replay PATH...   (a directory stands for every file under it)
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/ScriptBytes.h"

namespace {

namespace fs = std::filesystem;

// The files that `path` stands for, in name order; empty with a message when there are none.
std::vector<fs::path> inputsAt(fs::path const& path) {
  std::error_code error;
  if (fs::is_regular_file(path, error)) return {path};
  std::vector<fs::path> files;
  if (fs::is_directory(path, error)) {
    for (auto const& entry : fs::recursive_directory_iterator(path, error)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
  }
  if (files.empty()) std::cerr << "warden_script_replay: no input at " << path << '\n';
  return files;
}

bool replay(fs::path const& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    std::cerr << "warden_script_replay: cannot read " << file << '\n';
    return false;
  }
  std::string const bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::cout << "replaying " << file.string() << std::endl;
  WardenFuzz::runScriptBytes(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: warden_script_replay PATH...\n";
    return 2;
  }
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<fs::path> const files = inputsAt(argv[i]);
    if (files.empty()) return 2;
    for (fs::path const& file : files) {
      if (!replay(file)) return 2;
      ++replayed;
    }
  }
  std::cout << "replayed " << replayed << (replayed == 1 ? " input\n" : " inputs\n");
  return 0;
}
