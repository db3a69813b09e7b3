// The command line: which verbs there are, with which options, and what --help says of them.

#ifndef PKIDER_TOOLS_COMMAND_LINE_H
#define PKIDER_TOOLS_COMMAND_LINE_H

// Has the verb that the arguments name do its work, or tells what is wrong with them. Returns
// whether they were right. Throws what the verb throws.
bool run_command_line(int argc, char** argv);

#endif
