// One small file that holds a value and is rewritten in place: an LED's `brightness` attribute
// or a simulated pin. Kept open, as a sysfs attribute is rewritten at every change.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Drive {

class ValueFile {
 public:
  ValueFile() = default;
  ~ValueFile();
  ValueFile(ValueFile&& other) noexcept;
  ValueFile& operator=(ValueFile&& other) noexcept;
  ValueFile(ValueFile const&) = delete;
  ValueFile& operator=(ValueFile const&) = delete;

  // Opens for writing (creating a plain file if `create`); returns errno, 0 on success.
  int open(std::string const& path, bool create);
  // Replaces the content; returns errno, 0 on success.
  int write(std::string_view text);
  // Overwrites bytes in place from `offset`, leaving the rest and the length; errno, 0 on success.
  int writeAt(std::size_t offset, std::string_view bytes);
  bool isOpen() const noexcept { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// Whether `path` could be opened for writing, or made in its directory when `create`: errno, 0
// when so. Asks the kernel only; nothing is opened, made or written.
int checkWritable(std::string const& path, bool create);
// Whether replaceFile could replace `path`: its directory takes new files. errno, 0 when so.
int checkReplaceable(std::string const& path);
// Reads a whole small file, such as `max_brightness`; returns errno, 0 on success.
int readSmallFile(std::string const& path, std::string& text);
// Writes a small file whole, as a separate open, write and close (a sysfs `trigger`).
int writeSmallFile(std::string const& path, std::string_view text);
// Replaces a file at once: readers see the old content or the new one, never a mixture.
int replaceFile(std::string const& path, std::string_view text);
// The same, keeping the new file open in `file` for later writes in place.
int replaceFile(std::string const& path, std::string_view text, ValueFile& file);

}  // namespace Drive
