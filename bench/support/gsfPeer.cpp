#include "support/gsfPeer.h"

#include "support/pageBuffer.h"

#include <gsf/gsf.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace kvdm::bench::gsf {

namespace {

struct Unref
{
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object> using Owned = std::unique_ptr<Object, Unref>;

template <class Object> Owned<Object> require(Object* object, const std::string& what)
{
    if (!object)
        throw std::runtime_error("libgsf: " + what);
    return Owned<Object>(object);
}

struct File
{
    Owned<GsfInput> input;
    Owned<GsfInfile> infile;
};

File open(const std::string& path, Access access)
{
    File file;
    file.input = require(access == Access::mapped ? gsf_input_mmap_new(path.c_str(), nullptr) : gsf_input_stdio_new(path.c_str(), nullptr), path);
    file.infile = require(gsf_infile_msole_new(file.input.get(), nullptr), path + " as a compound file");
    return file;
}

std::size_t readWhole(GsfInput& stream)
{
    const auto size = static_cast<std::size_t>(gsf_input_size(&stream));
    if (size && !gsf_input_read(&stream, size, nullptr))
        throw std::runtime_error("libgsf: a stream is not read");
    return size;
}

struct NewFile
{
    explicit NewFile(const std::string& path)
        : output(require(gsf_output_stdio_new(path.c_str(), nullptr), path)), outfile(require(gsf_outfile_msole_new(output.get()), path))
    {}
    Owned<GsfOutput> output;
    Owned<GsfOutfile> outfile;
};

void close(GsfOutput* output)
{
    if (!gsf_output_close(output))
        throw std::runtime_error("libgsf: a file is not closed");
}

} // namespace

void initialise()
{
    gsf_init();
    g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
}

std::size_t readStream(const std::string& path, const char* stream, Access access)
{
    const File file = open(path, access);
    return readWhole(*require(gsf_infile_child_by_name(file.infile.get(), stream), stream));
}

std::vector<std::vector<std::uint8_t>> readStreams(const std::string& path, const std::vector<const char*>& streams)
{
    const File file = open(path, Access::stdio);
    std::vector<std::vector<std::uint8_t>> all;
    for (const char* name : streams) {
        const Owned<GsfInput> stream = require(gsf_infile_child_by_name(file.infile.get(), name), name);
        std::vector<std::uint8_t>& bytes = all.emplace_back(static_cast<std::size_t>(gsf_input_size(stream.get())));
        if (!bytes.empty() && !gsf_input_read(stream.get(), bytes.size(), bytes.data()))
            throw std::runtime_error("libgsf: a stream is not read");
    }
    return all;
}

std::size_t readDocument(const std::string& path)
{
    const File file = open(path, Access::stdio);
    bool marked = false;
    const int children = gsf_infile_num_children(file.infile.get());
    for (int i = 0; i < children && !marked; ++i) {
        const char* name = gsf_infile_name_by_index(file.infile.get(), i);
        marked = name && g_str_has_prefix(name, "_MO_VERSION_");
    }
    if (!marked)
        throw std::runtime_error("libgsf: no version marker in " + path);
    std::size_t values = 0;
    for (const char* name : {"\005SummaryInformation", "\005DocumentSummaryInformation", "IKestrovaneInformation"}) {
        const Owned<GsfInput> stream(gsf_infile_child_by_name(file.infile.get(), name));
        if (!stream)
            continue;
        const Owned<GsfDocMetaData> metadata(gsf_doc_meta_data_new());
        if (GError* error = gsf_doc_meta_data_read_from_msole(metadata.get(), stream.get()))
            g_error_free(error);
        values += gsf_doc_meta_data_size(metadata.get());
    }
    return values;
}

std::uint64_t readByBlocks(const std::string& path, const char* stream, std::size_t block)
{
    const File file = open(path, Access::stdio);
    const Owned<GsfInput> input = require(gsf_infile_child_by_name(file.infile.get(), stream), stream);
    const PageBuffer buffer(block);
    std::uint64_t total = 0;
    for (std::uint64_t left = static_cast<std::uint64_t>(gsf_input_size(input.get())); left > 0;) {
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(left, block));
        if (!gsf_input_read(input.get(), count, buffer.data()))
            throw std::runtime_error("libgsf: the stream ends early");
        total += count;
        left -= count;
    }
    return total;
}

std::uint64_t readEveryStream(const std::string& path)
{
    const File file = open(path, Access::stdio);
    std::uint64_t total = 0;
    const int children = gsf_infile_num_children(file.infile.get());
    for (int i = 0; i < children; ++i)
        total += readWhole(*require(gsf_infile_child_by_index(file.infile.get(), i), "a child"));
    return total;
}

void writeByBlocks(const std::string& path, const char* stream, std::uint64_t size, std::size_t block)
{
    const NewFile file(path);
    const Owned<GsfOutput> output = require(gsf_outfile_new_child(file.outfile.get(), stream, FALSE), stream);
    const std::vector<guint8> buffer(block, 'Z');
    for (std::uint64_t left = size; left > 0;) {
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(left, block));
        if (!gsf_output_write(output.get(), count, buffer.data()))
            throw std::runtime_error("libgsf: the stream is not written");
        left -= count;
    }
    close(output.get());
    close(GSF_OUTPUT(file.outfile.get())); // and with it the file under it
}

void writeManyStreams(const std::string& path, std::size_t count)
{
    const NewFile file(path);
    const std::vector<guint8> buffer(1000, 'Z');
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "Config-" + std::to_string(i * 7919 % count);
        const Owned<GsfOutput> output = require(gsf_outfile_new_child(file.outfile.get(), name.c_str(), FALSE), name);
        if (!gsf_output_write(output.get(), 20 + i % 900, buffer.data()))
            throw std::runtime_error("libgsf: a stream is not written");
        close(output.get());
    }
    close(GSF_OUTPUT(file.outfile.get())); // and with it the file under it
}

} // namespace kvdm::bench::gsf
