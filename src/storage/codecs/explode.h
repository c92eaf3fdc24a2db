// The decoder of imploded data, the format of PKWARE's Data Compression Library: a byte that is 0 for raw or 1 for coded
// literals, a byte with the number of low distance bits (4 to 6), then single bits that announce a literal or a pair of
// length and distance into a window of 4096 bytes; a length of 519 ends the stream.
#pragma once

#include "storage/codecs/codecCallbacks.h"

namespace kvdm {

constexpr int explodeDone = 0;
constexpr int explodeWriterFailed = 1;
constexpr int explodeInputRanOut = 2;
constexpr int explodeBadLiteralForm = -1;
constexpr int explodeBadDictionary = -2;
constexpr int explodeBadDistance = -3; // beyond the data that came so far

// The window goes to the writer each time it fills and, whatever the result, at the end. The reader is called only when more
// bits are needed. Memory is one window.
int explode(suReader reader, void* readerContext, suWriter writer, void* writerContext);

// The result that explode would have, found by walking through the codes without making the output: hostile input of 188
// bytes of output a byte costs no more than any other.
int checkImploded(suReader reader, void* readerContext);

} // namespace kvdm
