#include "lab/ctl/record/FollowedCopy.h"

#include <array>
#include <stdexcept>
#include <utility>

namespace orvanectl {

namespace {

std::unique_ptr<CopiedFile> openedIfThere(const std::string& path)
{
    try {
        return std::make_unique<CopiedFile>(path);
    } catch (const std::runtime_error&) {
        return nullptr;
    }
}

}  // namespace

FollowedCopy::FollowedCopy(std::string path, OnBytes onBytes, OnEnd onEnd)
    : m_path(std::move(path)), m_onBytes(std::move(onBytes)), m_onEnd(std::move(onEnd)),
      m_file(std::make_unique<CopiedFile>(m_path))
{}

bool FollowedCopy::take()
{
    constexpr int kMostReads = 64;  // in one turn, of a writer that never pauses
    std::array<std::uint8_t, 65536> buffer;
    bool isReplaced = false;
    for (int i = 0; i < kMostReads; ++i) {
        if (m_file->isCutShort()) {
            m_onEnd();
            m_file->rewind();
        }
        const auto bytes = m_file->read(buffer);
        if (!bytes.empty()) {
            m_onBytes(bytes);
        } else if (!isReplaced) {
            isReplaced = m_file->isReplaced();  // and is read once more: what came before the other stood there
            if (!isReplaced) return false;
        } else {
            isReplaced = false;
            if (!goOver()) return false;
        }
    }
    return true;
}

/// To the file that stands at the path now, if there is one.
bool FollowedCopy::goOver()
{
    std::unique_ptr<CopiedFile> next = openedIfThere(m_path);
    if (!next) return false;
    m_onEnd();
    m_file = std::move(next);
    return true;
}

}  // namespace orvanectl
