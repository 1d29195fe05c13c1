#pragma once

#include <string>

namespace kelm::tool
{

// What was typed in earlier runs, in $XDG_STATE_HOME/kelmscript/history (~/.local/state where that is not set), which
// only its owner may read. Every entry is written at once, so that none is lost and runs at the same time keep theirs.
// Where the file cannot be written, the history lasts as long as the run.
class History
{
public:
    // Reads the file into the editor's list.
    History();

    // Enters what was typed last; a repetition of the entry before is dropped.
    void Add(const std::string& entry);

private:
    std::string m_path;
};

} // namespace kelm::tool
