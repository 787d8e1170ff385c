// GPIO lines as a kernel would keep them, recording every request and bulk write, with faults
// to order: chips that do not exist, lines that are busy, writes that fail.
#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/drive/GpioLines.h"

namespace Drive {

struct GpioBench {
  struct Request {
    std::string chip;
    std::vector<unsigned> offsets;
    bool activeLow = false;
    std::vector<int> logical;
    bool released = false;
  };
  std::vector<Request> requests;
  std::vector<std::size_t> bulkWrites;                    // request index of each bulk write
  std::map<std::string, std::map<unsigned, int>> levels;  // chip -> offset -> electrical level
  std::set<std::string> absentChips;
  std::set<std::pair<std::string, unsigned>> busyLines;
  int failWrites = 0;  // errno for every write while set
  std::function<void(Request const&)> onWrite;

  int level(std::string const& chip, unsigned offset) { return levels[chip][offset]; }
};

class RecordingLines final : public GpioLines {
 public:
  explicit RecordingLines(GpioBench& bench) : bench_(bench) {}

  int openChip(std::string const& address, std::size_t& chip) override {
    if (bench_.absentChips.count(address)) return ENOENT;
    for (chip = 0; chip < chips_.size(); ++chip) {
      if (chips_[chip] == address) return 0;
    }
    chips_.push_back(address);
    return 0;
  }
  int findLine(std::size_t, std::string const& name, unsigned& offset) override {
    if (name.rfind("LINE", 0) != 0) return ENOENT;
    offset = static_cast<unsigned>(std::stoul(name.substr(4)));
    return 0;
  }
  int checkLine(std::size_t chip, unsigned offset) override {
    return bench_.busyLines.count({chips_[chip], offset}) ? EBUSY : 0;
  }
  int request(std::size_t chip, std::vector<unsigned> const& offsets, bool activeLow,
              std::vector<int> const& values, std::size_t& request) override {
    for (unsigned offset : offsets) {
      if (bench_.busyLines.count({chips_[chip], offset})) return EBUSY;
    }
    request = bench_.requests.size();
    bench_.requests.push_back({chips_[chip], offsets, activeLow, values});
    apply(bench_.requests.back());
    return 0;
  }
  int setValues(std::size_t request, std::vector<int> const& values) override {
    if (bench_.failWrites) return bench_.failWrites;
    GpioBench::Request& r = bench_.requests[request];
    r.logical = values;
    bench_.bulkWrites.push_back(request);
    apply(r);
    if (bench_.onWrite) bench_.onWrite(r);
    return 0;
  }
  void release(std::size_t request) override { bench_.requests[request].released = true; }

 private:
  void apply(GpioBench::Request const& r) {
    for (std::size_t i = 0; i < r.offsets.size(); ++i) {
      bench_.levels[r.chip][r.offsets[i]] = r.logical[i] ^ (r.activeLow ? 1 : 0);
    }
  }

  GpioBench& bench_;
  std::vector<std::string> chips_;
};

inline std::function<std::unique_ptr<GpioLines>()> linesOn(GpioBench& bench) {
  return [&bench] { return std::make_unique<RecordingLines>(bench); };
}

}  // namespace Drive
