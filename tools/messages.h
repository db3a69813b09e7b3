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
  explicit input_error_t(const std::string& message) : std::runtime_error(message) {}
  input_error_t(const std::string& file, const std::string& wrong)
      : std::runtime_error(file + ": " + wrong) {}
};

// Writes "pkider: MESSAGE" to standard error, safe for a terminal. The command then ends with
// status 1, whatever else it does.
void report(const std::string& message);
void report(const std::string& file, const std::string& wrong);
bool anything_reported();

// Writes "pkider: MESSAGE" too, about what is no fault.
void note(const std::string& message);

// Does `work`, and reports an input_error_t that it throws: the command goes on with the next
// input.
void attempt(const std::function<void()>& work);

// Attempts `handle` with each file name in turn, and goes on after one that does not fit the
// memory.
void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle);

#endif
