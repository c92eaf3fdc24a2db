#include "storage/codecs/suHuffmanProc_c.h"

#include <array>
#include <optional>
#include <vector>

namespace kvdm {

namespace {

constexpr std::size_t portionSize = 0x10000;
constexpr std::uint8_t appendedByte = '0';

using ByteCounts = std::array<std::uint32_t, 256>;

// Leaves stand at 0 to 255 under their byte value, joints behind them in the order in which they were made.
struct HuffmanTree
{
    struct Node
    {
        std::uint64_t weight = 0;
        std::int16_t child[2] = {-1, -1};
        bool isFree = false;
    };

    explicit HuffmanTree(const ByteCounts& counts)
    {
        for (std::size_t value = 0; value < counts.size(); ++value) {
            nodes[value].weight = counts[value];
            nodes[value].isFree = counts[value] != 0;
        }
        std::int16_t last = 256;
        root = iTakeLightest(last);
        while (root >= 0) {
            const std::int16_t second = iTakeLightest(last);
            if (second < 0)
                break;
            Node& joint = nodes[static_cast<std::size_t>(last)];
            joint.weight = nodes[static_cast<std::size_t>(root)].weight + nodes[static_cast<std::size_t>(second)].weight;
            joint.child[0] = root;
            joint.child[1] = second;
            joint.isFree = true;
            ++last;
            root = iTakeLightest(last);
        }
    }

    bool isLeaf(std::int16_t node) const { return node < 256; }

    std::array<Node, 511> nodes{};
    std::int16_t root = -1;

private:
    // The first of equals in table order.
    std::int16_t iTakeLightest(std::int16_t end)
    {
        std::int16_t lightest = -1;
        for (std::int16_t i = 0; i < end; ++i) {
            const Node& node = nodes[static_cast<std::size_t>(i)];
            if (node.isFree && (lightest < 0 || node.weight < nodes[static_cast<std::size_t>(lightest)].weight))
                lightest = i;
        }
        if (lightest >= 0)
            nodes[static_cast<std::size_t>(lightest)].isFree = false;
        return lightest;
    }
};

// Codes may be as long as 255 bits in theory; weights of 32 bits bound them well below 64.
struct Code
{
    std::uint64_t bits = 0;
    unsigned length = 0;
};

void collectCodes(const HuffmanTree& tree, std::int16_t node, Code code, std::array<Code, 256>& codes)
{
    if (tree.isLeaf(node)) {
        codes[static_cast<std::size_t>(node)] = code;
        return;
    }
    for (const unsigned bit : {0U, 1U})
        collectCodes(tree, tree.nodes[static_cast<std::size_t>(node)].child[bit], {code.bits << 1 | bit, code.length + 1}, codes);
}

// A file object with bytes gathered in portions.
class PortionWriter
{
public:
    explicit PortionWriter(suFile& file) : file(file) { bytes.reserve(portionSize); }

    void put(std::uint8_t byte)
    {
        bytes.push_back(byte);
        ++total;
        if (bytes.size() == portionSize)
            flush();
    }
    void put32(std::uint32_t value)
    {
        for (int i = 0; i < 4; ++i)
            put(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    void flush()
    {
        file.Write(bytes.data(), bytes.size());
        bytes.clear();
    }
    std::uint64_t written() const { return total; }

private:
    suFile& file;
    std::vector<std::uint8_t> bytes;
    std::uint64_t total = 0;
};

class PortionReader
{
public:
    explicit PortionReader(suFile& file) : file(file), bytes(portionSize) {}

    std::optional<std::uint8_t> get()
    {
        if (next == count) {
            count = file.Read(bytes.data(), bytes.size());
            next = 0;
            if (count == 0)
                return std::nullopt;
        }
        return bytes[next++];
    }
    std::optional<std::uint32_t> get32()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            const auto byte = get();
            if (!byte)
                return std::nullopt;
            value |= std::uint32_t{*byte} << (8 * i);
        }
        return value;
    }

private:
    suFile& file;
    std::vector<std::uint8_t> bytes;
    std::size_t next = 0;
    std::size_t count = 0;
};

struct Header
{
    std::uint32_t total = 0;
    std::uint32_t distinct = 0;
    ByteCounts counts{};
};

std::optional<Header> readHeader(PortionReader& input)
{
    Header header;
    const auto total = input.get32();
    const auto distinct = input.get32();
    if (!total || !distinct || *distinct == 0 || *distinct > 256)
        return std::nullopt;
    header.total = *total;
    header.distinct = *distinct;
    std::uint64_t sum = 0;
    int previous = -1;
    for (std::uint32_t i = 0; i < header.distinct; ++i) {
        const auto value = input.get();
        const auto count = input.get32();
        if (!value || !count || *value <= previous || *count == 0)
            return std::nullopt;
        previous = *value;
        header.counts[*value] = *count;
        sum += *count;
    }
    if (sum != header.total || (header.distinct == 1 && header.total > suHuffmanProc_c::singleValueLimit))
        return std::nullopt;
    return header;
}

} // namespace

std::uint32_t suHuffmanProc_c::compress()
{
    source.Seek(0, suFile::Origin::end);
    source.Write(&appendedByte, 1);
    const std::uint64_t inputLength = source.GetLength();
    if (inputLength > UINT32_MAX)
        return failed;

    source.Seek(0, suFile::Origin::begin);
    Header header;
    PortionReader counting(source);
    while (const auto byte = counting.get()) {
        header.distinct += header.counts[*byte]++ == 0 ? 1 : 0;
        ++header.total;
    }
    if (header.distinct == 1 && header.total > singleValueLimit)
        return failed;

    PortionWriter output(destination);
    output.put32(header.total);
    output.put32(header.distinct);
    for (std::size_t value = 0; value < header.counts.size(); ++value) {
        if (header.counts[value] != 0) {
            output.put(static_cast<std::uint8_t>(value));
            output.put32(header.counts[value]);
        }
    }
    const HuffmanTree tree(header.counts);
    std::array<Code, 256> codes{};
    collectCodes(tree, tree.root, {}, codes);

    source.Seek(0, suFile::Origin::begin);
    PortionReader coding(source);
    unsigned gathered = 0;
    unsigned gatheredBits = 0;
    while (const auto byte = coding.get()) {
        const Code& code = codes[*byte];
        for (unsigned bit = code.length; bit-- > 0;) {
            gathered = gathered << 1 | (code.bits >> bit & 1);
            if (++gatheredBits == 8) {
                output.put(static_cast<std::uint8_t>(gathered));
                gatheredBits = 0;
            }
        }
    }
    if (gatheredBits != 0)
        output.put(static_cast<std::uint8_t>(gathered << (8 - gatheredBits)));
    output.flush();
    return static_cast<std::uint32_t>(static_cast<double>(output.written()) * 100.0 / static_cast<double>(inputLength));
}

int suHuffmanProc_c::decompress(int)
{
    PortionReader input(source);
    const auto header = readHeader(input);
    if (!header)
        return 0;
    const HuffmanTree tree(header->counts);
    PortionWriter output(destination);
    unsigned bits = 0;
    unsigned bitsLeft = 0;
    bool inputRanOut = false;
    for (std::uint32_t i = 0; i < header->total && !inputRanOut; ++i) {
        std::int16_t node = tree.root;
        while (!tree.isLeaf(node) && !inputRanOut) {
            if (bitsLeft == 0) {
                const auto byte = input.get();
                inputRanOut = !byte;
                bits = byte.value_or(0);
                bitsLeft = 8;
            }
            if (!inputRanOut)
                node = tree.nodes[static_cast<std::size_t>(node)].child[bits >> --bitsLeft & 1];
        }
        if (!inputRanOut)
            output.put(static_cast<std::uint8_t>(node));
    }
    output.flush();
    return inputRanOut ? 0 : 1;
}

} // namespace kvdm
