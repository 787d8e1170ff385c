// GPIO lines as a kernel would keep them, recording every request and bulk write, with faults
// to order: chips that do not exist, lines that are busy, writes that fail.
#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "host/pins/GpioLines.h"

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
  std::set<std::pair<std::string, unsigned>> takenMeanwhile;  // free when checked, busy when asked
  int failWrites = 0;                                         // errno for every write while set
  std::function<void(Request const&)> onWrite;

  int level(std::string const& chip, unsigned offset) { return levels[chip][offset]; }
};

// The electrical levels that a request's logical values give its lines.
inline void applyLevels(GpioBench& bench, GpioBench::Request const& r) {
  for (std::size_t i = 0; i < r.offsets.size(); ++i) {
    bench.levels[r.chip][r.offsets[i]] = r.logical[i] ^ (r.activeLow ? 1 : 0);
  }
}

// A request as the kernel keeps it: marked released when the driver lets it go.
class RecordingRequest final : public LineRequest {
 public:
  RecordingRequest(GpioBench& bench, std::size_t index) : bench_(bench), index_(index) {}
  ~RecordingRequest() override { bench_.requests[index_].released = true; }

  void setValues(std::vector<int> const& values) override {
    if (bench_.failWrites) throw std::system_error(bench_.failWrites, std::generic_category());
    GpioBench::Request& r = bench_.requests[index_];
    r.logical = values;
    bench_.bulkWrites.push_back(index_);
    applyLevels(bench_, r);
    if (bench_.onWrite) bench_.onWrite(r);
  }

 private:
  GpioBench& bench_;
  std::size_t index_;
};

class RecordingChip final : public GpioChip {
 public:
  RecordingChip(GpioBench& bench, std::string name) : bench_(bench), name_(std::move(name)) {}

  unsigned lineOffset(std::string const& name) override {
    if (name.rfind("LINE", 0) != 0) throw std::system_error(ENOENT, std::generic_category());
    return static_cast<unsigned>(std::stoul(name.substr(4)));
  }
  bool isLineUsed(unsigned offset) override { return bench_.busyLines.count({name_, offset}); }
  std::unique_ptr<LineRequest> requestOutputs(std::vector<unsigned> const& offsets, bool activeLow,
                                              std::vector<int> const& values) override {
    for (unsigned offset : offsets) {
      if (bench_.busyLines.count({name_, offset}) || bench_.takenMeanwhile.count({name_, offset})) {
        throw std::system_error(EBUSY, std::generic_category());
      }
    }
    bench_.requests.push_back({name_, offsets, activeLow, values});
    applyLevels(bench_, bench_.requests.back());
    return std::make_unique<RecordingRequest>(bench_, bench_.requests.size() - 1);
  }

 private:
  GpioBench& bench_;
  std::string name_;
};

class RecordingLines final : public GpioLines {
 public:
  explicit RecordingLines(GpioBench& bench) : bench_(bench) {}

  std::unique_ptr<GpioChip> openChip(std::string const& address) override {
    if (bench_.absentChips.count(address)) throw std::system_error(ENOENT, std::generic_category());
    return std::make_unique<RecordingChip>(bench_, address);
  }

 private:
  GpioBench& bench_;
};

inline std::function<std::unique_ptr<GpioLines>()> linesOn(GpioBench& bench) {
  return [&bench] { return std::make_unique<RecordingLines>(bench); };
}

}  // namespace Drive
