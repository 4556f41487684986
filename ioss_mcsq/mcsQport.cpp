#include "ioss_mcsq/mcsQport.h"

#include "utilities/ClosedOnExec.h"
#include "utilities/ConsoleLine.h"

#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

void reportFailure(const char* direction, const char* name)
{
    printLine(std::cerr, "Unable to open ", direction, " pipe file: ", name);
}

}  // namespace

mcsQport::~mcsQport()
{
    if (m_isOpen) ::close(m_fileDescriptor);
}

void mcsQport::set_filename(const char* name)
{
    m_fileName = name;
    m_hasFileName = name != nullptr;
}

int mcsQport::can_open_file() const
{
    if (!m_hasFileName) return -1;
    const int descriptor = closedOnExec(::open(m_fileName, O_WRONLY));
    if (descriptor == -1) {
        reportFailure("output", m_fileName);
        return 0;
    }
    ::close(descriptor);
    return 1;
}

int mcsQport::openPortForWrite()
{
    return open(O_WRONLY, "output");
}

int mcsQport::openPortForRead()
{
    return open(O_RDONLY, "input");
}

int mcsQport::open(int direction, const char* directionName)
{
    if (!m_hasFileName) return -1;
    if (m_isOpen) ::close(m_fileDescriptor);
    m_fileDescriptor = closedOnExec(::open(m_fileName, direction));
    m_isOpen = m_fileDescriptor != -1;
    if (!m_isOpen) reportFailure(directionName, m_fileName);
    return m_fileDescriptor;
}

ssize_t mcsReaderPort::readFromPort(void* buffer, std::size_t length) const
{
    return canTransfer(length) ? ::read(getFileDescriptor(), buffer, length) : 0;
}

ssize_t mcsWriterPort::writeToPort(const void* buffer, std::size_t length) const
{
    return canTransfer(length) ? ::write(getFileDescriptor(), buffer, length) : 0;
}
