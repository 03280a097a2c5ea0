// The baseline the mail benches set their figures beside: what a Python user
// would write, the standard library's mailbox parser, one document per
// message (its header fields and the text of its first plain part), stored
// with sqlite3 in one transaction.
#pragma once

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "bench_support.h"

namespace bench {

struct PythonMailFigures {
  double seconds = 0;
  double cpu_seconds = 0;
  long messages = 0;
};

// `open_mailbox` is the Python expression that opens `path`, e.g.
// "mailbox.mbox(path)"; `folder` holds the script and its database meanwhile.
inline PythonMailFigures TimePythonMail(const std::string& open_mailbox, const std::string& source,
                                        const std::string& folder) {
  const std::string script = folder + "/python_mail_baseline.py";
  const std::string database = folder + "/python_mail_baseline.db";
  std::ofstream(script) << fmt::format(R"py(import email.policy, mailbox, sqlite3, sys, time
path, database = sys.argv[1], sys.argv[2]
start, cpu_start = time.perf_counter(), time.process_time()
connection = sqlite3.connect(database)
connection.execute("CREATE TABLE d(body TEXT)")
count = 0
with connection:
    for message in {}:
        lines = []
        for name in ("To", "Cc", "From", "Date", "Subject", "Message-ID"):
            value = message.get(name)
            if value:
                lines.append("%s[ %s ]" % (name, value))
        body = b""
        for part in message.walk():
            if part.get_content_type() == "text/plain":
                body = part.get_payload(decode=True) or b""
                break
        lines.append("Message[ %s ]" % body.decode("latin-1"))
        connection.execute("INSERT INTO d(body) VALUES(?)", ("\r\n".join(lines),))
        count += 1
print(count, time.perf_counter() - start, time.process_time() - cpu_start)
)py",
                                       open_mailbox);
  unlink(database.c_str());
  FILE* python =
      popen(fmt::format("/usr/bin/python3 '{}' '{}' '{}'", script, source, database).c_str(), "r");
  if (python == nullptr) Fail("cannot start /usr/bin/python3");
  PythonMailFigures figures;
  const int read =
      fscanf(python, "%ld %lf %lf", &figures.messages, &figures.seconds, &figures.cpu_seconds);
  if (pclose(python) != 0 || read != 3) Fail("the Python baseline failed");
  unlink(script.c_str());
  unlink(database.c_str());
  return figures;
}

}  // namespace bench
