#include "platform/text/icu/windowsCodePages.h"

namespace kvdm {

namespace {

// 1252, 20127, 28591 and 42 are made without a converter.
constexpr CodePageName tablePages[] = {
    {37, "ibm-37"},
    {42, nullptr},
    {437, "ibm-437"},
    {500, "ibm-500"},
    {720, "ibm-720"},
    {737, "ibm-737"},
    {775, "ibm-775"},
    {850, "ibm-850"},
    {852, "ibm-852"},
    {855, "ibm-855"},
    {857, "ibm-857"},
    {858, "ibm-858"},
    {860, "ibm-860"},
    {861, "ibm-861"},
    {862, "ibm-862"},
    {863, "ibm-863"},
    {864, "ibm-864"},
    {865, "ibm-865"},
    {866, "ibm-866"},
    {869, "ibm-869"},
    {870, "ibm-870"},
    {874, "windows-874-2000"},
    {875, "ibm-875"},
    {932, "ibm-943_P15A-2003"},
    {936, "windows-936-2000"},
    {949, "windows-949-2000"},
    {950, "windows-950-2000"},
    {1026, "ibm-1026"},
    {1047, "ibm-1047"},
    {1140, "ibm-1140"},
    {1141, "ibm-1141"},
    {1142, "ibm-1142"},
    {1143, "ibm-1143"},
    {1144, "ibm-1144"},
    {1145, "ibm-1145"},
    {1146, "ibm-1146"},
    {1147, "ibm-1147"},
    {1148, "ibm-1148"},
    {1149, "ibm-1149"},
    {1250, "ibm-5346_P100-1998"},
    {1251, "ibm-5347_P100-1998"},
    {1252, nullptr},
    {1253, "ibm-5349_P100-1998"},
    {1254, "ibm-5350_P100-1998"},
    {1255, "ibm-9447_P100-2002"},
    {1256, "ibm-9448_X100-2005"},
    {1257, "ibm-9449_P100-2002"},
    {1258, "ibm-5354_P100-1998"},
    {10000, "macos-0_2-10.2"},
    {10006, "macos-6_2-10.4"},
    {10007, "macos-7_3-10.2"},
    {10029, "macos-29-10.2"},
    {10081, "macos-35-10.2"},
    {20127, nullptr},
    {20866, "ibm-878_P100-1996"},
    {21866, "ibm-1168_P100-2002"},
    {28591, nullptr},
    {28592, "ibm-912_P100-1995"},
    {28593, "ibm-913_P100-2000"},
    {28594, "ibm-914_P100-1995"},
    {28595, "ibm-915_P100-1995"},
    {28596, "ibm-1089_P100-1995"},
    {28597, "ibm-9005_X110-2007"},
    {28598, "ibm-5012_P100-1999"},
    {28599, "ibm-920_P100-1995"},
    {28603, "ibm-921_P100-1995"},
    {28605, "ibm-923_P100-1998"},
};

constexpr CodePageName statefulPages[] = {
    {20932, "EUC-JP"},          {50220, "ISO-2022-JP"},     {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"},     {50225, "ISO-2022-KR"},     {51932, "EUC-JP"},
    {51936, "EUC-CN"},          {51949, "EUC-KR"},          {52936, "HZ"},
    {54936, "gb18030"},         {57002, "ISCII,version=0"}, {57003, "ISCII,version=1"},
    {57004, "ISCII,version=5"}, {57005, "ISCII,version=6"}, {57007, "ISCII,version=4"},
    {57008, "ISCII,version=7"}, {57009, "ISCII,version=8"}, {57010, "ISCII,version=3"},
    {57011, "ISCII,version=2"}, {65000, "UTF-7"},
};

// Bytes that mean nothing are units of the private use area on Windows, so that they survive the way there and back.
constexpr CodePageCorrection corrections[] = {
    {437, 0xE6, 0x00B5},  {720, 0x80, 0x0080},  {720, 0x81, 0x0081},  {720, 0x84, 0x0084},  {720, 0x86, 0x0086},  {720, 0x8D, 0x008D},
    {720, 0x8E, 0x008E},  {720, 0x8F, 0x008F},  {720, 0x90, 0x0090},  {852, 0xAA, 0x00AC},  {860, 0xE6, 0x00B5},  {861, 0xE6, 0x00B5},
    {862, 0xE6, 0x00B5},  {863, 0xE6, 0x00B5},  {864, 0x25, 0x066A},  {864, 0xD7, 0xFEC1},  {864, 0xD8, 0xFEC5},  {864, 0xF1, 0x0651},
    {865, 0xE6, 0x00B5},  {869, 0x88, 0x00B7},  {869, 0xEF, 0x0384},  {932, 0x80, 0x0080},  {932, 0xA0, 0xF8F0},  {932, 0xFD, 0xF8F1},
    {932, 0xFE, 0xF8F2},  {932, 0xFF, 0xF8F3},  {936, 0xFF, 0xF8F5},  {949, 0xFF, 0xF8F7},  {950, 0xFF, 0xF8F8},  {1253, 0xAA, 0xF8F9},
    {1253, 0xD2, 0xF8FA}, {1253, 0xFF, 0xF8FB}, {1255, 0xD9, 0xF88D}, {1255, 0xDA, 0xF88E}, {1255, 0xDB, 0xF88F}, {1255, 0xDC, 0xF890},
    {1255, 0xDD, 0xF891}, {1255, 0xDE, 0xF892}, {1255, 0xDF, 0xF893}, {1255, 0xFB, 0xF894}, {1255, 0xFC, 0xF895}, {1255, 0xFF, 0xF896},
    {1257, 0xA1, 0xF8FC}, {1257, 0xA5, 0xF8FD},
};

constexpr BestFitRun western[] = {
    {0x0100, "AaAaAaCcCcCcCcDd\xD0"
             "dEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiI"},
    {0x0134, "JjKk"},
    {0x0139, "LlLlLl"},
    {0x0141, "LlNnNnNn"},
    {0x014C, "OoOoOo"},
    {0x0154, "RrRrRrSsSsSs"},
    {0x0162, "TtTtTtUuUuUuUuUuUuWwYy"},
    {0x0179, "ZzZz"},
    {0x0180, "b"},
    {0x0189, "\xD0"},
    {0x0191, "\x83"},
    {0x0197, "I"},
    {0x019A, "l"},
    {0x019F, "OOo"},
    {0x01AB, "t"},
    {0x01AE, "TUu"},
    {0x01B6, "z"},
    {0x01C0, "|"},
    {0x01C3, "!"},
    {0x01CD, "AaIiOoUuUuUuUuUu"},
    {0x01DE, "Aa"},
    {0x01E4, "GgGgKkOoOo"},
    {0x01F0, "j"},
    {0x0261, "g"},
    {0x02B9, "'\""},
    {0x02BC, "'"},
    {0x02C4, "^"},
    {0x02C8, "'\xAF\xB4`"},
    {0x02CD, "_"},
    {0x02DA, "\xB0"},
    {0x0300, "`\xB4^~\xAF\xAF"},
    {0x0308, "\xA8"},
    {0x030A, "\xB0"},
    {0x030E, "\""},
    {0x0327, "\xB8"},
    {0x0331, "__"},
    {0x037E, ";"},
    {0x0393, "G"},
    {0x0398, "T"},
    {0x03A3, "S"},
    {0x03A6, "F"},
    {0x03A9, "O"},
    {0x03B1, "a"},
    {0x03B4, "de"},
    {0x03BC, "\xB5"},
    {0x03C0, "p"},
    {0x03C3, "st"},
    {0x03C6, "f"},
    {0x04BB, "h"},
    {0x0589, ":"},
    {0x066A, "%"},
    {0x2000, "       "},
    {0x2010, "--"},
    {0x2017, "="},
    {0x2024, "\xB7"},
    {0x2032, "'"},
    {0x2035, "`"},
    {0x2044, "/"},
    {0x2070, "\xB0"},
    {0x2074, "45678"},
    {0x207F, "n"},
    {0x2080, "0123456789"},
    {0x20A1, "\xA2"},
    {0x20A4, "\xA3"},
    {0x20A7, "P"},
    {0x2102, "C"},
    {0x2107, "E"},
    {0x210A, "gHHHh"},
    {0x2110, "IILl"},
    {0x2115, "N"},
    {0x2118, "PPQRRR"},
    {0x2124, "Z"},
    {0x2128, "Z"},
    {0x212A, "K\xC5"
             "BCeeEF"},
    {0x2133, "Mo"},
    {0x2205, "\xD8"},
    {0x2212, "-\xB1"},
    {0x2215, "/\\*\xB0\xB7v"},
    {0x221E, "8"},
    {0x2223, "|"},
    {0x2229, "n"},
    {0x2236, ":"},
    {0x223C, "~"},
    {0x2248, "\x98"},
    {0x2261, "="},
    {0x2264, "=="},
    {0x226A, "\xAB\xBB"},
    {0x22C5, "\xB7"},
    {0x2302, "\xA6^"},
    {0x2310, "\xAC"},
    {0x2329, "<>"},
    {0x3000, " "},
    {0x3008, "<>"},
    {0x301A, "[]"},
    {0x30FB, "\xB7"},
};

} // namespace

std::span<const CodePageName> tableCodePages() noexcept
{
    return tablePages;
}

std::span<const CodePageName> statefulCodePages() noexcept
{
    return statefulPages;
}

std::span<const CodePageCorrection> codePageCorrections() noexcept
{
    return corrections;
}

std::span<const BestFitRun> westernBestFit() noexcept
{
    return western;
}

} // namespace kvdm
