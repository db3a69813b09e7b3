#include "password.h"

#include <bsd/readpassphrase.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include "messages.h"

namespace {

constexpr std::size_t max_size = 1024;

class descriptor_t {
 public:
  explicit descriptor_t(int number) : number_(number) {}
  descriptor_t(const descriptor_t&) = delete;
  descriptor_t& operator=(const descriptor_t&) = delete;
  ~descriptor_t() {
    if (number_ >= 0) {
      close(number_);
    }
  }
  int number() const { return number_; }

 private:
  int number_;
};

secret_t first_line_of(const std::string& file) {
  const descriptor_t input(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  secret_t content(max_size + 2);
  std::size_t used = 0;
  ssize_t count = input.number() < 0 ? -1 : 1;
  while (count > 0 && used < content.size()) {
    count = read(input.number(), content.data() + used, content.size() - used);
    used += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  if (count < 0) {
    throw input_error_t(file, std::strerror(errno));
  }
  content.resize(used);
  content.erase(std::find(content.begin(), content.end(), '\n'), content.end());
  if (!content.empty() && content.back() == '\r') {
    content.pop_back();
  }
  if (content.size() > max_size) {
    throw input_error_t(file, "the first line is too long for a password");
  }
  return content;
}

secret_t from_terminal(const std::string& prompt) {
  secret_t line(max_size + 1);
  char* const text = reinterpret_cast<char*>(line.data());
  if (readpassphrase(prompt.c_str(), text, line.size(), RPP_REQUIRE_TTY) == nullptr) {
    throw input_error_t(
        "no terminal to ask for the password: use --password-file or --password-env");
  }
  line.resize(std::strlen(text));
  return line;
}

}  // namespace

void add_password_options(CLI::App* verb, password_source_t* source, const std::string& prefix,
                          const std::string& whose) {
  CLI::Option* const file =
      verb->add_option("--" + prefix + "password-file", source->file,
                       "The password of " + whose + " is the first line of this file")
          ->type_name("FILE");
  verb->add_option("--" + prefix + "password-env", source->variable,
                   "The password of " + whose + " is in this environment variable")
      ->type_name("NAME")
      ->excludes(file);
}

void add_limit_option(CLI::App* verb, gost_pbe_options_t* options) {
  verb->add_option("--max-iterations", options->round_limit,
                   "Refuse a file that asks for more rounds of key derivation in all; a million "
                   "take some four seconds")
      ->type_name("N")
      ->capture_default_str();
}

void add_iterations_option(CLI::App* verb, gost_pbe_options_t* options) {
  const CLI::Validator writable(
      [](const std::string& text) {
        unsigned iterations = 0;
        return CLI::detail::lexical_cast(text, iterations) && can_write_iterations(iterations)
                   ? std::string()
                   : "the number of rounds must fit 32 bits and have no zero byte below its first "
                     "(256 and 65,537 have one, 600,000 has none)";
      },
      "");
  verb->add_option("--iterations", options->iterations,
                   "Rounds of key derivation; no byte of the number may be zero")
      ->check(writable)
      ->type_name("N")
      ->capture_default_str();
}

secret_t read_password(const password_source_t& source, const std::string& prompt, bool chosen) {
  if (!source.file.empty()) {
    return first_line_of(source.file);
  }
  if (!source.variable.empty()) {
    const char* const value = std::getenv(source.variable.c_str());
    if (value == nullptr) {
      throw input_error_t(source.variable, "no such environment variable");
    }
    return secret_t(value, value + std::strlen(value));
  }
  secret_t password = from_terminal(prompt + ": ");
  if (chosen && from_terminal("The same again: ") != password) {
    throw input_error_t("the two passwords differ");
  }
  return password;
}

std::function<void(unsigned done, unsigned total)> terminal_progress() {
  using clock = std::chrono::steady_clock;
  constexpr auto noticeable = std::chrono::milliseconds(300);
  if (isatty(STDERR_FILENO) == 0) {
    return {};
  }
  return [noticeable, begin = clock::now(), shown = false](unsigned done, unsigned total) mutable {
    if (done == 0) {
      begin = clock::now();
      shown = false;
    }
    if (done == total) {
      std::cerr << (shown ? "\r\x1B[K" : "");
      return;
    }
    if (clock::now() - begin > noticeable) {
      std::cerr << "\rDeriving a key ... " << 100ULL * done / total << " %";
      shown = true;
    }
  };
}
