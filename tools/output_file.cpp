#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "messages.h"

namespace {

// A new file beside its later name; removed unless it got that name.
class new_file_t {
 public:
  explicit new_file_t(const std::string& file)
      : file_(file), temporary_(file + ".XXXXXX"), number_(mkostemp(temporary_.data(), O_CLOEXEC)) {
    if (number_ < 0) {
      fail();
    }
  }
  new_file_t(const new_file_t&) = delete;
  new_file_t& operator=(const new_file_t&) = delete;
  ~new_file_t() {
    close(number_);
    if (!named_) {
      unlink(temporary_.c_str());
    }
  }

  void write(const std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
      const ssize_t count = ::write(number_, content.data() + done, content.size() - done);
      if (count < 0) {
        fail();
      }
      done += static_cast<std::size_t>(count);
    }
  }

  void name(mode_t mode, bool overwrite) {
    const mode_t mask = umask(0);
    umask(mask);
    constexpr unsigned replace = 0;
    if (fchmod(number_, mode & ~mask) != 0 || fsync(number_) != 0 ||
        renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, file_.c_str(),
                  overwrite ? replace : RENAME_NOREPLACE) != 0) {
      fail();
    }
    named_ = true;
  }

 private:
  [[noreturn]] void fail() const { throw input_error_t(file_, std::strerror(errno)); }

  std::string file_;
  std::string temporary_;
  int number_;
  bool named_ = false;
};

}  // namespace

void write_output(const std::string& file, const std::string& content, mode_t mode,
                  bool overwrite) {
  new_file_t output(file);
  output.write(content);
  output.name(mode, overwrite);
}

void check_absent(const std::string& file, bool overwrite) {
  struct stat status = {};
  if (!overwrite && lstat(file.c_str(), &status) == 0) {
    throw input_error_t(file, "exists already; --overwrite replaces it");
  }
}

std::string to_pem(const std::string& label, const blob_t& der) {
  constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr unsigned bytes_per_line = 48;
  std::string text = "-----BEGIN " + label + "-----\n";
  for (unsigned i = 0; i < der.size; i += 3) {
    const unsigned count = std::min(3U, der.size - i);
    unsigned group = 0;
    for (unsigned j = 0; j < 3; ++j) {
      group = group << 8 | (j < count ? der.data[i + j] : 0U);
    }
    for (unsigned j = 0; j < 4; ++j) {
      text += j <= count ? digits[group >> (18 - 6 * j) & 63] : '=';
    }
    if (i + 3 >= der.size || (i + 3) % bytes_per_line == 0) {
      text += '\n';
    }
  }
  return text + "-----END " + label + "-----\n";
}
