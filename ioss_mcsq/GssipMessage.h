#ifndef IOSS_MCSQ_GSSIPMESSAGE_H
#define IOSS_MCSQ_GSSIPMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <span>

/// Takes bytes: where a message is written to.
class IWriteByteStreams {
public:
    virtual ~IWriteByteStreams() = default;
    virtual void write(const std::uint8_t* bytes, std::size_t length) = 0;

protected:
    IWriteByteStreams() = default;
    IWriteByteStreams(const IWriteByteStreams&) = default;
    IWriteByteStreams& operator=(const IWriteByteStreams&) = default;
};

/// A GSSIP frame of one kind (`gps_msgs.h` tells its form). The storage is a member of the derived object, which has
/// the word count and the id of its kind; a received header is taken as it comes and may tell otherwise.
///
/// One thread at a time. An object points into itself, so it is neither copied nor moved. Nothing throws. The word
/// count may be set to more than the storage holds: then nothing touches the data.
class GssipMessage {
public:
    GssipMessage() = default;
    virtual ~GssipMessage() = default;

    /// Takes a whole frame: header, data and data checksum. Checksums and ids are not looked at.
    /// @param length  in bytes; half of it less 6 must be the word count, so one byte more than the frame will do
    /// @return false, and nothing is changed, for another length or without a frame
    virtual bool OkSetContent(const std::uint8_t* bytes, std::uint16_t length);

    /// Called before the frame is written; nothing is printed in any class.
    virtual void debugPrintMessage();

    GssipMessage(const GssipMessage&) = delete;
    GssipMessage& operator=(const GssipMessage&) = delete;

    /// The value that belongs behind the data; 0 without data.
    std::uint16_t checksumOfContents() const;

    /// The negated sum of the whole header: 0 if its checksum is right, or without a frame.
    std::uint16_t checksumOfHeader() const;

    /// The value that belongs at the end of the header; 0 without a frame.
    std::uint16_t calculateHeaderChecksum() const;

    /// Stores it there. `WriteMessage` takes no notice of this.
    void setHeaderChecksum();

    /// Stores both checksums. Nothing happens if the header's word count is not the object's.
    void insert_checksum();

    /// Inserts the checksums and gives the frame to `sink`, in one call. Nothing is written before both checksums have
    /// been inserted once; a later header that keeps them from being inserted again does not hold the frame back.
    /// @param sink  null writes nothing
    void WriteMessage(IWriteByteStreams* sink);

    /// Zeroes the data, not its checksum.
    void clearContents();

    /// Sets the word count of the header, its low 16 bits, and of the object; no checksum.
    void set_gpsip_wdcnt(std::uint32_t count);

    /// The whole storage; empty without a frame.
    std::span<const std::uint16_t> frame() const { return {m_frame, m_capacity}; }
    std::uint32_t wordCount() const { return m_wordCount; }
    std::uint16_t messageId() const { return m_msgId; }

protected:
    /// Makes `storage` the frame, clears it and writes its header but for the checksum, which stays 0.
    /// @param storage  a member of the derived object; shorter than a header leaves the message without a frame
    void attachFrame(std::span<std::uint16_t> storage, std::uint32_t wdcnt, std::uint16_t msgId,
                     std::uint16_t flagWord);

    /// `OkSetContent` for a length of any size.
    bool setContent(const std::uint8_t* bytes, std::size_t length);

private:
    bool hasData() const;

    std::uint16_t* m_frame = nullptr;
    std::uint16_t* m_data = nullptr;
    std::uint32_t m_wordCount = 0;
    std::uint16_t m_msgId = 0;
    bool m_headerChecksumInserted = false;
    bool m_dataChecksumInserted = false;
    std::uint32_t m_capacity = 0;  // words of the storage
};

#endif
