// Runs a command-line reader (pdftotext, wpd2text) for the tests that compare
// the converter modules with it, and compares texts word for word.
#pragma once

#include <stdio.h>
#include <sys/wait.h>

#include <sstream>
#include <string>
#include <vector>

struct ToolOutput {
  bool ran = false;    // the command could be started
  int status = -1;     // its exit status
  std::string output;  // what it printed on stdout
};

// `program` on `path` (quoted for the shell); stderr is dropped.
inline ToolOutput RunTool(const std::string& program, const std::string& arguments_before,
                          const std::string& path, const std::string& arguments_after = "") {
  std::string quoted = "'";
  for (char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  quoted += "'";
  const std::string command =
      program + " " + arguments_before + " " + quoted + " " + arguments_after + " 2>/dev/null";
  ToolOutput result;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[65536];
  size_t got = 0;
  while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.output.append(buffer, got);
  const int status = pclose(pipe);
  result.ran = WIFEXITED(status) && WEXITSTATUS(status) != 127;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

// Whether `program` is on the PATH.
inline bool HaveTool(const std::string& program) {
  return system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

// The words of `text`: what is between runs of white space (blank, tab, CR,
// LF, form feed, vertical tab).
inline std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  std::string word;
  while (in >> word) words.push_back(word);
  return words;
}
