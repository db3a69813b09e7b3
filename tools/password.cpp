// Passwords from the terminal, from files and from the environment.

#include "password.h"

#include <bsd/readpassphrase.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string_view>

#include "messages.h"

namespace {

constexpr std::size_t max_size = 1024;

class descriptor_t {
 public:
  explicit descriptor_t(const std::string& file)
      : number_(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
  descriptor_t(const descriptor_t&) = delete;
  descriptor_t& operator=(const descriptor_t&) = delete;
  ~descriptor_t() {
    if (number_ > STDIN_FILENO) {
      close(number_);
    }
  }
  int number() const { return number_; }

 private:
  int number_;
};

bool begins_with(const secret_t& text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(),
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
}

void check_text(const std::string& file, const secret_t& line) {
  if (begins_with(line, "\xEF\xBB\xBF")) {
    throw input_error_t(file,
                        "begins with a byte order mark, which is not part of a password: save "
                        "it without one");
  }
  if (begins_with(line, "\xFF\xFE") || begins_with(line, "\xFE\xFF") ||
      std::count(line.begin(), line.end(), 0) != 0) {
    throw input_error_t(file,
                        "is not UTF-8 text (UTF-16 perhaps), so its password would not be "
                        "the one meant");
  }
}

// A byte at a time, so that what follows the line stays in standard input.
secret_t first_line_of(const std::string& file) {
  const descriptor_t input(file);
  secret_t line;
  line.reserve(max_size + 2);
  unsigned char byte = 0;
  ssize_t count = 0;
  while ((count = read(input.number(), &byte, 1)) == 1 && byte != '\n') {
    line.push_back(byte);
    if (line.size() > max_size + 1) {
      throw input_error_t(file, "the first line is too long for a password");
    }
  }
  explicit_bzero(&byte, 1);
  if (count < 0) {
    throw input_error_t(file, std::strerror(errno));
  }
  check_text(file, line);
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

// The variable's value, which is wiped where it stood. It can be asked for again.
const secret_t& value_of(const std::string& variable) {
  static std::map<std::string, secret_t> values;
  if (const auto known = values.find(variable); known != values.end()) {
    return known->second;
  }
  char* const value = std::getenv(variable.c_str());
  if (value == nullptr) {
    throw input_error_t(variable, "no such environment variable");
  }
  const std::size_t size = std::strlen(value);
  if (size > max_size) {
    throw input_error_t(variable, "too long for a password");
  }
  secret_t& kept = values[variable];
  kept.assign(value, value + size);
  explicit_bzero(value, size);
  return kept;
}

secret_t from_terminal(const std::string& prompt) {
  secret_t line(max_size + 2);
  char* const text = reinterpret_cast<char*>(line.data());
  if (readpassphrase(prompt.c_str(), text, line.size(), RPP_REQUIRE_TTY) == nullptr) {
    throw input_error_t(
        "no terminal to ask for the password: use --password-file or --password-env");
  }
  line.resize(std::strlen(text));
  if (line.size() > max_size) {
    throw input_error_t("a password has at most " + std::to_string(max_size) + " bytes");
  }
  return line;
}

secret_t choose_on_terminal(const std::string& prompt) {
  constexpr int tries = 3;
  const char* complaint = "";
  for (int i = 0; i < tries; ++i) {
    secret_t password = from_terminal(complaint + prompt + ": ");
    if (password.empty()) {
      complaint = "Nothing was typed. ";
    } else if (from_terminal("The same again: ") == password) {
      return password;
    } else {
      complaint = "The two differ. ";
    }
  }
  throw input_error_t("no password was chosen");
}

secret_t given_password(const password_source_t& source) {
  return source.file.empty() ? value_of(source.variable) : first_line_of(source.file);
}

}  // namespace

secret_t read_password(const password_source_t& source, const std::string& prompt, bool chosen) {
  const bool given = !source.file.empty() || !source.variable.empty();
  if (!given) {
    return chosen ? choose_on_terminal(prompt) : from_terminal(prompt + ": ");
  }
  secret_t password = given_password(source);
  if (chosen && password.empty()) {
    throw input_error_t(source.file + source.variable, "the password is empty");
  }
  return password;
}
