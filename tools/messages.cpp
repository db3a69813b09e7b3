#include "messages.h"

#include <iostream>

#include "text.h"

namespace {

bool reported = false;

}  // namespace

void report(const std::string& message) {
  reported = true;
  std::cerr << "pkider: " << printable(message) << '\n';
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
    attempt([&] { handle(file); });
  }
}
