// Files that get their names once they are whole.

#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "messages.h"

namespace {

[[noreturn]] void fail(const std::string& file, int error) {
  throw input_error_t(file, std::strerror(error));
}

// Holds back the signals that end a program, and lets them through at its end.
class signals_held_t {
 public:
  signals_held_t() {
    sigset_t ending = {};
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
      sigaddset(&ending, signal);
    }
    sigprocmask(SIG_BLOCK, &ending, &before_);
  }
  signals_held_t(const signals_held_t&) = delete;
  signals_held_t& operator=(const signals_held_t&) = delete;
  ~signals_held_t() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_ = {};
};

std::string directory_of(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? "." : file.substr(0, slash + 1);
}

// What stands at `file`, if anything.
std::optional<struct stat> status_of(const std::string& file) {
  struct stat status = {};
  if (lstat(file.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return status;
}

void check_replaceable(const std::string& file, const struct stat& status, bool overwrite) {
  if (!overwrite) {
    throw input_error_t(file, "exists already; --overwrite replaces it");
  }
  if (!S_ISREG(status.st_mode)) {
    throw input_error_t(file, "is not a regular file, and only such files are replaced");
  }
}

// A new file in the directory of its later name. Where the file system can, it has no name at all
// until it is whole; else it is removed unless it got its name.
class new_file_t {
 public:
  explicit new_file_t(const std::string& file)
      : file_(file),
        number_(open(directory_of(file).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, private_mode)) {
    if (number_ >= 0 && access(link_to_it().c_str(), F_OK) == 0) {
      return;
    }
    close(number_);
    temporary_ = file + ".XXXXXX";
    number_ = mkostemp(temporary_.data(), O_CLOEXEC);
    if (number_ < 0) {
      fail(directory_of(file), errno);
    }
  }
  new_file_t(const new_file_t&) = delete;
  new_file_t& operator=(const new_file_t&) = delete;
  ~new_file_t() {
    if (!temporary_.empty()) {
      unlink(temporary_.c_str());
    }
    close(number_);
  }

  void write(const std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
      const ssize_t count = ::write(number_, content.data() + done, content.size() - done);
      if (count < 0) {
        fail(file_, errno);
      }
      done += static_cast<std::size_t>(count);
    }
  }

  void set_mode(mode_t mode) {
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(number_, mode & ~mask) != 0) {
      fail(file_, errno);
    }
  }

  void set_owner_and_mode(const struct stat& status) {
    if (fchown(number_, status.st_uid, status.st_gid) != 0 ||
        fchmod(number_, status.st_mode & ~static_cast<mode_t>(S_IFMT)) != 0) {
      throw input_error_t(
          file_, "its owner and mode cannot be kept: " + std::string(std::strerror(errno)));
    }
  }

  // Under a name that is free.
  void name() {
    const std::string from = temporary_.empty() ? link_to_it() : temporary_;
    if (linkat(AT_FDCWD, from.c_str(), AT_FDCWD, file_.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      return;
    }
    if (errno == EEXIST) {
      throw input_error_t(file_, "exists already; --overwrite replaces it");
    }
    // The file system has no links. Who makes the name first has it.
    const int claim = open(file_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, private_mode);
    if (claim < 0) {
      fail(file_, errno);
    }
    close(claim);
    try {
      replace();
    } catch (const input_error_t&) {
      unlink(file_.c_str());
      throw;
    }
  }

  // Under a name that a file has.
  void replace() {
    if (temporary_.empty()) {
      const std::string free_name = file_ + "." + std::to_string(getpid());
      if (linkat(AT_FDCWD, link_to_it().c_str(), AT_FDCWD, free_name.c_str(), AT_SYMLINK_FOLLOW) !=
          0) {
        fail(free_name, errno);
      }
      temporary_ = free_name;
    }
    if (rename(temporary_.c_str(), file_.c_str()) != 0) {
      fail(file_, errno);
    }
    temporary_.clear();
  }

  void sync() {
    if (fsync(number_) != 0) {
      fail(file_, errno);
    }
  }

 private:
  std::string link_to_it() const { return "/proc/self/fd/" + std::to_string(number_); }

  std::string file_;
  std::string temporary_;  // empty while there is none
  int number_;
};

void write_output(const output_file_t& output, bool overwrite, bool sync) {
  const signals_held_t held;
  const std::optional<struct stat> old = status_of(output.name);
  new_file_t file(output.name);
  file.write(output.content);
  if (!old) {
    file.set_mode(output.mode);
  } else {
    check_replaceable(output.name, *old, overwrite);
    file.set_owner_and_mode(*old);
  }
  if (sync) {
    file.sync();
  }
  old ? file.replace() : file.name();
  if (old && output.mode == private_mode && (old->st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    note(output.name, "its mode, which was kept, is not for its owner alone");
  }
}

void sync_directory(const std::string& directory, int (*sync)(int)) {
  const int number = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool good = number >= 0 && sync(number) == 0;
  const int error = errno;
  close(number);
  if (!good) {
    fail(directory, error);
  }
}

}  // namespace

void write_outputs(const std::vector<output_file_t>& files, bool overwrite) {
  if (files.empty()) {
    return;
  }
  const bool one = files.size() == 1;
  for (const output_file_t& file : files) {
    write_output(file, overwrite, one);
  }
  // One wait for all of many files.
  sync_directory(directory_of(files.front().name), one ? fsync : syncfs);
}

void check_replaceable(const std::string& file, bool overwrite) {
  if (const auto status = status_of(file)) {
    check_replaceable(file, *status, overwrite);
  }
}

void check_output(const std::string& file, bool overwrite) {
  check_replaceable(file, overwrite);
  const signals_held_t held;
  const new_file_t probe(file);
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
