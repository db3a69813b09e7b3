#include "messages.h"

#include <iostream>
#include <new>

#include "text.h"

namespace {

bool reported = false;

}  // namespace

void note(const std::string& message) {
  std::cerr << "pkider: " + printable(message) + '\n';
}

void report(const std::string& message) {
  reported = true;
  note(message);
}

void report(const std::string& file, const std::string& wrong) {
  report(file + ": " + wrong);
}

bool anything_reported() {
  return reported;
}

void attempt(const std::function<void()>& work) {
  try {
    work();
  } catch (const input_error_t& e) {
    report(e.what());
  }
}

void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle) {
  for (const std::string& file : files) {
    try {
      attempt([&] { handle(file); });
    } catch (const std::bad_alloc&) {
      report(file, "does not fit the memory");
    }
  }
}
