#pragma once

// Writes every frame the server carries, and every client coming and going, to a record
// file, one JSON line each (tools/common/Record.h). A record file is never overwritten:
// without `append` a path that exists is refused. When the file cannot be written (an
// unwritable path, a full disk) the recorder says so once and the service goes on without
// it.

#include <functional>
#include <string>

#include "Traffic.h"

namespace simulator {

class Recorder {
public:
    using Report = std::function<void(const std::string& line)>;

    // Throws std::runtime_error naming the path when it exists and `append` is not set.
    // Any other failure to open it is reported and leaves the recorder writing nothing.
    Recorder(std::string path, bool append, Report report);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void write(const Traffic& traffic);

    // Whether lines still reach the file.
    bool recording() const { return descriptor >= 0; }

private:
    void fail(const std::string& what);

    std::string path;
    Report report;
    int descriptor = -1;
};

} // namespace simulator
