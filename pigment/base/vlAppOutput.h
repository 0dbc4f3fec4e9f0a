// vlOS::AppOutputStream: an application log file taking printf-style lines, used for timing
// reports; vlOS::AppOutput is the process-wide one.
#pragma once

#include <cstdio>
#include <mutex>

namespace vlOS {

class AppOutputStream {
  public:
    AppOutputStream();
    virtual ~AppOutputStream();

    AppOutputStream(const AppOutputStream&) = delete;
    AppOutputStream& operator=(const AppOutputStream&) = delete;

    // Opens the file name for the lines that follow, appending when append is true and
    // starting it afresh otherwise; a stream already open is closed first. Answers success.
    virtual bool open(const char* name, bool append);
    virtual void close();
    bool isOpen() const { return file != nullptr; }

    // Writes one formatted line (a newline is added when the text has none) and flushes it.
    // A stream that is not open drops the line. Safe to call from several threads.
    void operator()(const char* format, ...) __attribute__((format(printf, 2, 3)));

  private:
    std::FILE* file;
    std::mutex guard;
};

class AppOutput : public AppOutputStream {
  public:
    // The process-wide log, made on first use and closed at exit.
    static AppOutput& getInstance();
};

}  // namespace vlOS
