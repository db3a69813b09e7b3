// Messages on standard error, as text or JSON.

#include "messages.h"

#include <iostream>
#include <new>

#include "record.h"
#include "text.h"

namespace {

bool reported = false;
bool progress_shown = false;

// `kind` is the name of the message in JSON.
void print_message(const char* kind, const std::string& file, const std::string& message) {
  record_t record;
  if (!file.empty()) {
    record.add("input", file);
  }
  record.add(kind, message);
  const std::string text = "pkider: " + (file.empty() ? "" : file + ": ") + message;
  show_progress("");
  std::cerr << (json_output() ? json_line(record) : printable(text)) + '\n';
}

}  // namespace

void show_progress(const std::string& line) {
  if (progress_shown || !line.empty()) {
    std::cerr << '\r' << line << "\x1B[K";
    progress_shown = !line.empty();
  }
}

void note(const std::string& file, const std::string& text) {
  print_message("note", file, text);
}

void report(const std::string& file, const std::string& wrong) {
  reported = true;
  print_message("error", file, wrong);
}

void report(const std::string& message) {
  report("", message);
}

bool anything_reported() {
  return reported;
}

void attempt(const std::function<void()>& work) {
  try {
    work();
  } catch (const input_error_t& e) {
    report(e.file(), e.wrong());
  }
}

void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle) {
  for (const std::string& file : files) {
    try {
      attempt([&] { handle(file); });
    } catch (const std::bad_alloc&) {
      report(file, "does not fit in memory");
    }
  }
}
