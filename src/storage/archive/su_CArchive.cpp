#include "storage/archive/su_CArchive.h"

#include "platform/text/codepages.h"

namespace kvdm {

namespace {

constexpr std::size_t leastBufferSize = 128;
constexpr std::uint8_t longLength = 255;
constexpr std::uint16_t utf16Mark = 65534;
constexpr std::uint16_t longerLength = 65535;

} // namespace

su_CArchive::su_CArchive(suFile* file, unsigned mode, std::size_t bufferSize)
    : m_pFile(file), m_nMode(mode), m_nBufSize(std::max(bufferSize, leastBufferSize))
{
    if (file)
        m_strFileName = file->GetFileName();
}

su_CArchive::~su_CArchive()
{
    if (!m_pFile || (m_nMode & noFlushOnDelete))
        return;
    try {
        Close();
    } catch (...) { // a destructor has nobody to tell
    }
}

void su_CArchive::iFail(suArchiveException::Cause cause) const
{
    throw suArchiveException(cause, m_strFileName);
}

suFile& su_CArchive::iFile()
{
    if (!m_pFile)
        iFail(suArchiveException::generic);
    return *m_pFile;
}

void su_CArchive::Flush()
{
    if (IsStoring()) {
        if (m_lpWriteCur != buffer.get())
            iWriteOut();
        return;
    }
    if (m_lpReadCur == m_lpReadMax)
        return;
    iFile().Seek(-static_cast<std::int64_t>(m_lpReadMax - m_lpReadCur), suFile::Origin::current);
    m_lpReadCur = m_lpReadMax;
}

void su_CArchive::Close()
{
    Flush();
    m_pFile = nullptr;
}

// ---- bytes ----

std::size_t su_CArchive::iRefill(std::size_t needed)
{
    if (IsStoring())
        iFail(suArchiveException::generic);
    if (!buffer) {
        buffer = std::make_unique_for_overwrite<std::uint8_t[]>(m_nBufSize);
        m_lpReadCur = m_lpReadMax = buffer.get();
    }
    std::size_t have = static_cast<std::size_t>(m_lpReadMax - m_lpReadCur);
    if (have < needed) {
        std::memmove(buffer.get(), m_lpReadCur, have);
        m_lpReadCur = buffer.get();
        m_lpReadMax = m_lpReadCur + have;
        while (have < needed) {
            const std::size_t got = iFile().Read(m_lpReadMax, m_nBufSize - have);
            if (got == 0)
                break;
            m_lpReadMax += got;
            have += got;
            bytesTaken += got;
        }
    }
    return have;
}

void su_CArchive::FillBuffer(std::size_t needed)
{
    if (iRefill(needed) < needed)
        iFail(suArchiveException::endOfFile);
}

std::size_t su_CArchive::Read(void* target, std::size_t count)
{
    auto* to = static_cast<std::uint8_t*>(target);
    std::size_t done = 0;
    while (done < count) {
        std::size_t have = static_cast<std::size_t>(m_lpReadMax - m_lpReadCur);
        const std::size_t wanted = count - done;
        if (have == 0 && wanted >= m_nBufSize && IsLoading()) { // large pieces go past the buffer
            const std::size_t got = iFile().Read(to + done, wanted);
            if (got == 0)
                break;
            done += got;
            bytesTaken += got;
            continue;
        }
        if (have == 0)
            have = iRefill(1);
        if (have == 0)
            break;
        const std::size_t piece = std::min(have, wanted);
        std::memcpy(to + done, m_lpReadCur, piece);
        m_lpReadCur += piece;
        done += piece;
    }
    return done;
}

void su_CArchive::readExactly(void* target, std::size_t count)
{
    if (Read(target, count) < count)
        iFail(suArchiveException::endOfFile);
}

void su_CArchive::iWriteOut()
{
    if (IsLoading())
        iFail(suArchiveException::generic);
    if (!buffer) {
        buffer = std::make_unique_for_overwrite<std::uint8_t[]>(m_nBufSize);
        m_lpWriteCur = buffer.get();
        m_lpWriteMax = m_lpWriteCur + m_nBufSize;
    }
    if (m_lpWriteCur == buffer.get())
        return;
    iFile().Write(buffer.get(), static_cast<std::size_t>(m_lpWriteCur - buffer.get()));
    m_lpWriteCur = buffer.get();
}

void su_CArchive::Write(const void* source, std::size_t count)
{
    if (count == 0)
        return;
    if (count > static_cast<std::size_t>(m_lpWriteMax - m_lpWriteCur)) {
        iWriteOut();
        if (count >= m_nBufSize) {
            iFile().Write(source, count);
            return;
        }
    }
    std::memcpy(m_lpWriteCur, source, count);
    m_lpWriteCur += count;
}

std::uint64_t su_CArchive::bytesLeft()
{
    const auto buffered = static_cast<std::uint64_t>(m_lpReadMax - m_lpReadCur);
    const std::uint64_t beyond = m_pFile ? m_pFile->bytesLeft() : 0;
    return beyond > UINT64_MAX - buffered ? UINT64_MAX : beyond + buffered;
}

void su_CArchive::requireBytes(std::uint64_t count, std::size_t leastSize)
{
    if (count <= static_cast<std::uint64_t>(m_lpReadMax - m_lpReadCur) / leastSize)
        return; // the file is asked only when what is buffered does not answer
    if (count > bytesLeft() / leastSize)
        iFail(suArchiveException::endOfFile);
}

void su_CArchive::countParts(std::uint32_t parts)
{
    partsMade += parts;
    if (partsMade > freeParts && partsMade - freeParts > bytesTaken / bytesOfPart)
        iFail(suArchiveException::generic);
}

// ---- counts and strings ----

std::uint32_t su_CArchive::ReadCount()
{
    const auto count = read<std::uint16_t>();
    return count < 65535 ? count : read<std::uint32_t>();
}

void su_CArchive::WriteCount(std::uint64_t count)
{
    if (count > UINT32_MAX)
        throw suInvalidArgumentException();
    if (count < 65535)
        *this << static_cast<std::uint16_t>(count);
    else
        *this << std::uint16_t{65535} << static_cast<std::uint32_t>(count);
}

bool su_CArchive::iReadLength(std::uint64_t& length)
{
    length = read<std::uint8_t>();
    if (length < longLength)
        return false;
    length = read<std::uint16_t>();
    if (length == utf16Mark)
        return true;
    if (length == longerLength)
        length = read<std::uint32_t>();
    return false;
}

template <class Text> Text su_CArchive::iReadText(std::uint64_t count)
{
    constexpr std::size_t unit = sizeof(typename Text::value_type);
    requireBytes(count, unit);
    Text text;
    while (text.size() < count) {
        const std::size_t at = text.size();
        const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(count - at, iPieceOf(at, unit)));
        text.resize(at + piece);
        readExactly(text.data() + at, piece * unit);
    }
    return text;
}

std::u16string su_CArchive::ReadString()
{
    countParts();
    std::uint64_t length = 0;
    if (!iReadLength(length))
        return length == 0 ? std::u16string() : decodeText(codePageSystem, iReadText<std::string>(length));
    if (iReadLength(length))
        iFail(suArchiveException::generic);
    return iReadText<std::u16string>(length);
}

void su_CArchive::WriteString(std::u16string_view text)
{
    if (text.size() > UINT32_MAX)
        throw suInvalidArgumentException();
    *this << longLength << utf16Mark;
    if (text.size() < longLength)
        *this << static_cast<std::uint8_t>(text.size());
    else if (text.size() < utf16Mark)
        *this << longLength << static_cast<std::uint16_t>(text.size());
    else
        *this << longLength << longerLength << static_cast<std::uint32_t>(text.size());
    Write(text.data(), text.size() * sizeof(char16_t));
}

} // namespace kvdm
