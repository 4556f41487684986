#ifndef LAB_CTL_RECORD_DRAFT_H
#define LAB_CTL_RECORD_DRAFT_H

#include "lab/mcap/File.h"

#include <memory>
#include <string>

namespace orvanectl {

/// A file that is written beside its place, and stands there once it is kept. It is gone at the end if it was not, and
/// when SIGINT, SIGTERM, SIGHUP or SIGQUIT ends the process. One object at a time, while no other thread takes these
/// signals.
class Draft {
public:
    enum class Place {
        Free,  ///< nothing stands there, and what comes there meanwhile stays
        /// What stands there is replaced; the file that a symbolic link names, with its mode and its owner. Until it is
        /// kept, the owner alone may read it.
        Taken,
    };

    /// Throws `std::runtime_error`, as the others do: a line that names the file.
    Draft(const std::string& path, Place place);
    ~Draft();
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    mcap::Output& output() { return *m_output; }

    /// Has the disk hold it, and moves it to its place. To be called once, and nothing after it.
    void keep();

private:
    const Place m_place;
    const std::string m_path;
    const std::string m_draft;  // where it is written
    std::unique_ptr<mcap::FileOutput> m_output;
    bool m_isKept = false;
};

}  // namespace orvanectl

#endif
