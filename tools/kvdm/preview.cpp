// kvdm preview: the preview of a document as a file or on the terminal.
#include "preview.h"

#include "commands.h"
#include "files.h"
#include "terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

namespace kvdm::tool {

namespace {

template <class Owner> ComPtr<IDispatch> anyPreview(Owner& owner)
{
    KvDmPreviewError error = kvDmPreviewErrorNoPreview;
    ComPtr<IDispatch> picture;
    owner.GetPreviewBitmap(&error, picture.put());
    if (!picture)
        owner.GetPreviewPNGBitmap(&error, picture.put());
    return picture;
}

std::vector<std::uint8_t> encoded(IKvPicture& picture, const char* mimeType)
{
    OwnedVariant bytes;
    if (FAILED(picture.Encode(OwnedBstr(fromUtf8(mimeType)).get(), bytes.put())) || bytes.get().vt != (VT_ARRAY | VT_UI1))
        throw Failure(std::string("the preview cannot be written as ") + mimeType);
    const SAFEARRAY& array = *bytes.get().parray;
    const auto* data = static_cast<const std::uint8_t*>(array.pvData);
    return {data, data + array.rgsabound[0].cElements};
}

std::string base64(const std::vector<std::uint8_t>& bytes)
{
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t have = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < have ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= have ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return out;
}

// The PNG in pieces of 4096 characters.
std::string kittySequence(IKvPicture& picture)
{
    const std::string data = base64(encoded(picture, "image/png"));
    std::string out;
    for (std::size_t at = 0; at < data.size(); at += 4096) {
        const bool more = at + 4096 < data.size();
        out += fmt::format("\x1b_G{}m={};{}\x1b\\", at == 0 ? "a=T,f=100," : "", more ? 1 : 0, data.substr(at, 4096));
    }
    return out + '\n';
}

// Colours of a 6 x 6 x 6 cube, six rows a band.
std::string sixelSequence(IKvPicture& picture)
{
    LONG width = 0;
    LONG height = 0;
    const std::uint32_t* pixels = nullptr;
    picture.get_Width(&width);
    picture.get_Height(&height);
    picture.get_Handle(&pixels);
    const auto colourOf = [&](LONG x, LONG y) {
        const std::uint32_t pixel = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
        const auto level = [pixel](int shift) { return ((pixel >> shift & 255) * 5 + 127) / 255; };
        return static_cast<int>(level(16) * 36 + level(8) * 6 + level(0));
    };
    std::string out = fmt::format("\x1bPq\"1;1;{};{}", width, height);
    for (int colour = 0; colour < 216; ++colour)
        out += fmt::format("#{};2;{};{};{}", colour, colour / 36 * 20, colour / 6 % 6 * 20, colour % 6 * 20);
    for (LONG top = 0; top < height; top += 6) {
        std::map<int, std::string> rows;
        for (LONG x = 0; x < width; ++x) {
            for (LONG y = top; y < std::min(top + 6, height); ++y) {
                std::string& row = rows[colourOf(x, y)];
                row.resize(static_cast<std::size_t>(width), '?');
                row[static_cast<std::size_t>(x)] = static_cast<char>(((row[static_cast<std::size_t>(x)] - '?') | (1 << (y - top))) + '?');
            }
        }
        for (const auto& [colour, row] : rows)
            out += fmt::format("#{}{}$", colour, row);
        out += '-';
    }
    return out + "\x1b\\\n";
}

bool environmentHolds(const char* name, const char* text)
{
    const char* value = std::getenv(name);
    return value && std::strstr(value, text);
}

void writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes)
{
    replaceFile(path, [&](const std::string& beside) {
        std::ofstream file(beside, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        file.close();
        if (!file)
            throw Failure("cannot be written");
    });
}

// By the extension; null for any other.
const char* mimeTypeOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".png")
        return "image/png";
    if (extension == ".jpg" || extension == ".jpeg")
        return "image/jpeg";
    if (extension == ".bmp")
        return "image/bmp";
    return nullptr;
}

// The word of the command line for a name that is none of these.
std::string checkOutput(const std::string& path)
{
    return mimeTypeOf(path) ? "" : path + ": write to a .png, .jpg or .bmp file";
}

} // namespace

ComPtr<IKvPicture> previewPicture(const Document& document, const std::string& configuration)
{
    const ComPtr<IDispatch> picture = configuration.empty() ? anyPreview(*document) : anyPreview(*document.configuration(configuration));
    ComPtr<IKvPicture> pixels;
    if (picture && FAILED(picture->QueryInterface(IID_IKvPicture, pixels.putVoid())))
        (void)pixels.detach();
    return pixels;
}

std::optional<std::string> pictureForTerminal(IKvPicture& picture)
{
    if (!outputIsColoured())
        return std::nullopt;
    if (std::getenv("KITTY_WINDOW_ID") || environmentHolds("TERM", "kitty") || environmentHolds("TERM_PROGRAM", "ghostty"))
        return kittySequence(picture);
    if (environmentHolds("TERM", "sixel") || environmentHolds("TERM", "foot") || environmentHolds("TERM", "mlterm") ||
        environmentHolds("TERM_PROGRAM", "WezTerm"))
        return sixelSequence(picture);
    return std::nullopt;
}

void addPreview(CLI::App& app, int& exitCode)
{
    struct Options
    {
        std::string file;
        std::string output;
        std::string configuration;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("preview", "The preview of a document as a file, or on a terminal that shows pictures");
    command->add_option("FILE", options->file, "The document")->required();
    command->add_option("-o,--output", options->output, "A .png, .jpg or .bmp file")->check(CLI::Validator(checkOutput, ""));
    command->add_option("--config", options->configuration, "The preview of that configuration");
    teach(*command, "  kvdm preview part.kvdprt -o part.png\n"
                    "  kvdm preview part.kvdprt -o machined.jpg --config Machined\n"
                    "  kvdm preview part.kvdprt                  on a terminal with kitty or sixel graphics");
    command->callback([options, &exitCode] {
        exitCode = forEachFile({options->file}, [&](const std::string& file) {
            const Document document(file);
            document.requireReadable();
            const ComPtr<IKvPicture> picture = previewPicture(document, options->configuration);
            if (!picture)
                throw Failure(file + ": no preview that can be read" +
                              (options->configuration.empty() ? "" : " for \"" + options->configuration + '"'));
            if (!options->output.empty()) {
                writeFile(options->output, encoded(*picture, mimeTypeOf(options->output)));
                return;
            }
            const auto shown = pictureForTerminal(*picture);
            if (!shown)
                throw Failure("standard output shows no pictures: name a file with -o");
            std::cout << *shown;
        });
    });
}

} // namespace kvdm::tool
