// The reader of every form of a compressed stream. What the bytes are is seen from the bytes: the block form begins with its
// magic; without it the whole input is imploded data or, when that does not decode, the older chunk form:
//
//   per record 16-bit uncompressed size, 16-bit compressed size, one zlib stream; up to a record with both sizes 0
//
// What safe means here: the input may be hostile. Of the block form never more than two blocks of the checked sizes are in
// memory, of the other two the input itself and one batch of output. Output goes on as it is made and is never collected, so
// that the ratio of a form (188:1 imploded, about 5500:1 in chunks of zeros) costs a reader only what it asks for. To tell
// imploded data from chunks, its codes are walked through once before anything is handed on.
#pragma once

#include "storage/codecs/codecCallbacks.h"

#include <cstdint>

namespace kvdm {

class CPRawCodec;

// Where decoded bytes go. The output owns the memory: room() lends at least count bytes, the same ones until deliver() hands
// on the first count of them. False from deliver: no more is wanted.
class suDecodedOutput
{
public:
    virtual std::uint8_t* room(std::uint32_t count) = 0;
    virtual bool deliver(std::uint32_t count) = 0;
    // Asked during long work without output.
    virtual bool isWanted() const { return true; }

protected:
    ~suDecodedOutput() = default;
};

// The reader is judged to have ended when it returns fewer bytes than readSize (or none), and is not called again. Throws
// std::bad_alloc and what the callbacks throw; damaged data ends the output early and is no error.
void decodeStream(const CPRawCodec& codec, suReader reader, void* readerContext, suDecodedOutput& output, std::uint32_t readSize);
// The imploded form alone; the result is that of explode.
int explodeStream(suReader reader, void* readerContext, suDecodedOutput& output);

// The same through a writer that gets pieces of at most 2048 bytes. Swallows every exception; always 0: what came out tells.
int decompressBlocks(const CPRawCodec& codec, suReader reader, void* readerContext, suWriter writer, void* writerContext,
                     std::uint32_t readSize) noexcept;

} // namespace kvdm
