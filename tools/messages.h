// What goes to standard error, and how the command goes on after a bad input.

#ifndef PKIDER_TOOLS_MESSAGES_H
#define PKIDER_TOOLS_MESSAGES_H

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// A bad input. The message is one line: "FILE: what is wrong".
class input_error_t : public std::runtime_error {
 public:
  explicit input_error_t(const std::string& message) : input_error_t("", message) {}
  input_error_t(const std::string& file, const std::string& wrong)
      : std::runtime_error(file.empty() ? wrong : file + ": " + wrong),
        file_(file),
        wrong_(wrong) {}

  const std::string& file() const { return file_; }
  const std::string& wrong() const { return wrong_; }

 private:
  std::string file_;
  std::string wrong_;
};

// Writes "pkider: FILE: WRONG" to standard error, safe for a terminal, or an object of JSON. The
// command then ends with status 1, whatever else it does.
void report(const std::string& file, const std::string& wrong);
void report(const std::string& message);
bool anything_reported();

// Writes "pkider: FILE: TEXT" in the same way, about what is not a fault.
void note(const std::string& file, const std::string& text);

// Shows a line on standard error that stays until a message or a record is written; "" ends it.
void show_progress(const std::string& line);

// Does `work`, and reports an input_error_t that it throws: the command goes on with the next
// input.
void attempt(const std::function<void()>& work);

// Attempts `handle` with each file name in turn, and goes on after one that does not fit the
// memory.
void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle);

#endif
