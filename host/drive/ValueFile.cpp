#include "host/drive/ValueFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace Drive {

ValueFile::~ValueFile() {
  if (fd_ >= 0) ::close(fd_);
}

ValueFile::ValueFile(ValueFile&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

ValueFile& ValueFile::operator=(ValueFile&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

int ValueFile::open(std::string const& path, bool create) {
  int const fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
  if (fd < 0) return errno;
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
  return 0;
}

int ValueFile::write(std::string_view text) {
  if (fd_ < 0) return EBADF;
  // A sysfs attribute takes one write at offset 0; a plain file must also lose a longer tail.
  ssize_t const n = ::pwrite(fd_, text.data(), text.size(), 0);
  if (n < 0) return errno;
  if (static_cast<std::size_t>(n) != text.size()) return EIO;
  (void)::ftruncate(fd_, static_cast<off_t>(text.size()));
  return 0;
}

int ValueFile::writeAt(std::size_t offset, std::string_view bytes) {
  if (fd_ < 0) return EBADF;
  ssize_t const n = ::pwrite(fd_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
  if (n < 0) return errno;
  if (static_cast<std::size_t>(n) != bytes.size()) return EIO;
  return 0;
}

namespace {

int checkDirectoryOf(std::string const& path) {
  std::string const dir = std::filesystem::path(path).parent_path().string();
  return ::access(dir.empty() ? "." : dir.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

}  // namespace

int checkWritable(std::string const& path, bool create) {
  if (::access(path.c_str(), W_OK) == 0) return 0;
  if (errno != ENOENT || !create) return errno;
  return checkDirectoryOf(path);
}

int checkReplaceable(std::string const& path) {
  return checkDirectoryOf(path);
}

int readSmallFile(std::string const& path, std::string& text) {
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  char buffer[256];
  ssize_t const n = ::read(fd, buffer, sizeof buffer);
  int const error = n < 0 ? errno : 0;
  ::close(fd);
  if (error == 0) text.assign(buffer, static_cast<std::size_t>(n));
  return error;
}

int writeSmallFile(std::string const& path, std::string_view text) {
  ValueFile file;
  if (int error = file.open(path, false)) return error;
  return file.write(text);
}

int replaceFile(std::string const& path, std::string_view text) {
  ValueFile file;
  return replaceFile(path, text, file);
}

int replaceFile(std::string const& path, std::string_view text, ValueFile& file) {
  std::string const temporary = path + ".new";
  if (int error = file.open(temporary, true)) return error;
  if (int error = file.write(text)) return error;
  // The descriptor follows the inode through the rename: it now writes the file at `path`.
  if (::rename(temporary.c_str(), path.c_str()) != 0) return errno;
  return 0;
}

}  // namespace Drive
