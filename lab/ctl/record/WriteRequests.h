#ifndef LAB_CTL_RECORD_WRITEREQUESTS_H
#define LAB_CTL_RECORD_WRITEREQUESTS_H

namespace orvanectl {

/// A person's requests for a file: SIGUSR1, and the Enter key where standard input is a terminal that this process has
/// in the foreground. To be made before other threads are: they never see the signal. One thread at a time.
class WriteRequests {
public:
    /// Throws `std::system_error`.
    WriteRequests();
    ~WriteRequests();
    WriteRequests(const WriteRequests&) = delete;
    WriteRequests& operator=(const WriteRequests&) = delete;

    /// Whether there was one since the last call. Nothing waits.
    bool take();

private:
    bool takeSignal() const;
    bool takeKey();

    int m_signal;
    bool m_hasKeys;
};

}  // namespace orvanectl

#endif
