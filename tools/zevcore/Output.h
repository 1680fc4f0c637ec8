#pragma once

// The one way a command writes a file, so that every output behaves alike: a failed run
// leaves what was there, and a path that is not a plain file is never replaced by one.

#include <string>
#include <string_view>
#include <vector>

namespace zevtool {

/// Writes `bytes` to `path` as one whole. "-" is standard output. A symbolic link is written
/// through to its final target. Anything else that is not a regular file (a FIFO, a device, a
/// directory, a socket) is refused. A regular file is replaced by renaming a complete
/// temporary file of the same folder over it, so a failure leaves the old file as it was. The
/// temporary file has no name while it is written (O_TMPFILE, where the filesystem has it),
/// so a writer killed meanwhile leaves nothing behind.
/// Throws std::runtime_error("cannot write 'PATH': REASON").
void writeOutput(const std::string& path, std::string_view bytes);

/// The outputs of one run, held until the work has succeeded and then written in the order
/// they were added.
class PendingOutputs {
public:
    void add(std::string path, std::string bytes);
    /// Writes every output; throws as writeOutput on the first that fails.
    void commit() const;

private:
    std::vector<std::pair<std::string, std::string>> m_outputs;
};

}  // namespace zevtool
