#ifndef IOSS_MCSQ_MCSQPORT_H
#define IOSS_MCSQ_MCSQPORT_H

#include <cstddef>
#include <sys/types.h>

/// One device file of a message queue, opened in one direction. The file is opened plainly, without further flags, so a
/// transfer waits until there is a message, or room for one. It is kept from programs that this process may start. One
/// thread at a time, but transfers may run beside each other. Closes what it opened when it goes.
class mcsQport {
public:
    mcsQport() = default;
    virtual ~mcsQport();

    /// Opens the file in the direction of the class and gives the descriptor, or -1. A file that is open is closed
    /// first.
    virtual int openPort() = 0;

    mcsQport(const mcsQport&) = delete;
    mcsQport& operator=(const mcsQport&) = delete;

    /// Keeps the pointer, so the text must outlive the port. Null counts as no name.
    void set_filename(const char* name);

    /// Empty if there is no name.
    const char* get_filename() const { return m_fileName ? m_fileName : ""; }
    bool hasSetFilename() const { return m_hasFileName; }
    bool is_file_open() const { return m_isOpen; }

    /// Of an open port only: one that was never opened says 0, which is somebody else's.
    int getFileDescriptor() const { return m_fileDescriptor; }
    void doDebug(int level) { m_debugLevel = level; }

    /// Opens the file for writing, whatever the direction of the port, and closes it again: 1 if that works, 0 and a
    /// line on standard error if not, -1 without a name.
    int can_open_file() const;

    /// The descriptor; -1 without a name, or with a line on standard error if the file can't be opened.
    int openPortForWrite();
    int openPortForRead();

protected:
    /// Open, and with something to transfer.
    bool canTransfer(std::size_t length) const { return m_isOpen && length > 0; }

private:
    int open(int direction, const char* directionName);

    const char* m_fileName = nullptr;
    bool m_isOpen = false;
    int m_fileDescriptor = 0;
    bool m_hasFileName = false;
    int m_debugLevel = 0;
};

class mcsReaderPort : public mcsQport {
public:
    int openPort() override { return openPortForRead(); }

    /// One read: the bytes that came, -1 for an error, 0 for a port that is not open or a length of 0.
    ssize_t readFromPort(void* buffer, std::size_t length) const;
};

class mcsWriterPort : public mcsQport {
public:
    int openPort() override { return openPortForWrite(); }

    /// One write: the bytes that went, -1 for an error, 0 for a port that is not open or a length of 0.
    ssize_t writeToPort(const void* buffer, std::size_t length) const;
};

#endif
