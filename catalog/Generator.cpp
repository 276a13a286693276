// The catalog generator: reads the source list of texts (texts.txt, format described at its top) and
// writes the id constants (CatalogIds.h) and the built-in bundle (BuiltInBundle.cpp). Any fault in the
// list stops the build with "file:line: error: ..."; outputs are rewritten only when their content
// changes, so an untouched list recompiles nothing.
//
// Usage: Generator <texts.txt> <CatalogIds.h> <BuiltInBundle.cpp>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

constexpr std::uint32_t Stamp = 11754;
constexpr std::uint32_t HeaderSize = 8;

struct Entry
{
    std::string Name;
    bool Wide = true;
    std::string Text; // UTF-8, escapes resolved
    int Line = 0;
};

// A fault in the source list, reported at the line that holds it.
struct SourceError : std::runtime_error
{
    int Line;
    SourceError(int line, const std::string& message) : std::runtime_error(message), Line(line) {}
};

bool IsIdentifierStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsIdentifierChar(char c)
{
    return IsIdentifierStart(c) || (c >= '0' && c <= '9');
}

void SkipBlanks(const std::string& line, std::size_t& pos)
{
    while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t'))
    {
        ++pos;
    }
}

// Reads the quoted text starting at `pos` (on the opening quote) and resolves its escapes.
std::string ParseQuoted(const std::string& line, std::size_t& pos, int lineNumber)
{
    if (pos >= line.size() || line[pos] != '"')
    {
        throw SourceError(lineNumber, "expected a quoted text after the kind");
    }
    std::string text;
    for (++pos; pos < line.size(); ++pos)
    {
        const char c = line[pos];
        if (c == '"')
        {
            ++pos;
            return text;
        }
        if (c != '\\')
        {
            text += c;
            continue;
        }
        if (++pos == line.size())
        {
            break;
        }
        switch (line[pos])
        {
        case '"':
            text += '"';
            break;
        case '\\':
            text += '\\';
            break;
        case 'n':
            text += '\n';
            break;
        case 't':
            text += '\t';
            break;
        default:
            throw SourceError(lineNumber, std::string("unknown escape \\") + line[pos]);
        }
    }
    throw SourceError(lineNumber, "unterminated quoted text");
}

// Returns false for blank and comment lines.
bool ParseLine(const std::string& line, int lineNumber, Entry& entry)
{
    std::size_t pos = 0;
    SkipBlanks(line, pos);
    if (pos == line.size() || line[pos] == '#')
    {
        return false;
    }
    const std::size_t nameStart = pos;
    if (!IsIdentifierStart(line[pos]))
    {
        throw SourceError(lineNumber, "a text's name must be an identifier");
    }
    while (pos < line.size() && IsIdentifierChar(line[pos]))
    {
        ++pos;
    }
    entry.Name = line.substr(nameStart, pos - nameStart);
    entry.Line = lineNumber;

    SkipBlanks(line, pos);
    const std::size_t kindStart = pos;
    while (pos < line.size() && line[pos] != ' ' && line[pos] != '\t')
    {
        ++pos;
    }
    const std::string kind = line.substr(kindStart, pos - kindStart);
    if (kind != "W" && kind != "A")
    {
        throw SourceError(lineNumber, "unknown kind '" + kind + "' (W for UTF-16, A for single-byte)");
    }
    entry.Wide = kind == "W";

    SkipBlanks(line, pos);
    entry.Text = ParseQuoted(line, pos, lineNumber);
    SkipBlanks(line, pos);
    if (pos != line.size())
    {
        throw SourceError(lineNumber, "unexpected characters after the quoted text");
    }
    if (entry.Text.find('\0') != std::string::npos)
    {
        throw SourceError(lineNumber, "a text cannot hold a NUL character");
    }
    return true;
}

std::vector<Entry> ReadEntries(std::istream& in)
{
    std::vector<Entry> entries;
    std::set<std::string> names;
    std::string line;
    for (int lineNumber = 1; std::getline(in, line); ++lineNumber)
    {
        if (!line.empty() && line.back() == '\r')
        {
            line.pop_back();
        }
        Entry entry;
        if (!ParseLine(line, lineNumber, entry))
        {
            continue;
        }
        if (!names.insert(entry.Name).second)
        {
            throw SourceError(lineNumber, "duplicate name '" + entry.Name + "'");
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

// Strict UTF-8 to UTF-16: overlong forms, surrogates and code points beyond U+10FFFF are faults.
std::u16string Utf8ToUtf16(const std::string& text, int lineNumber)
{
    std::u16string out;
    for (std::size_t i = 0; i < text.size();)
    {
        const auto lead = static_cast<unsigned char>(text[i]);
        int length = 0;
        char32_t code = 0;
        char32_t minimum = 0;
        if (lead < 0x80)
        {
            length = 1, code = lead;
        }
        else if ((lead & 0xE0) == 0xC0)
        {
            length = 2, code = lead & 0x1F, minimum = 0x80;
        }
        else if ((lead & 0xF0) == 0xE0)
        {
            length = 3, code = lead & 0x0F, minimum = 0x800;
        }
        else if ((lead & 0xF8) == 0xF0)
        {
            length = 4, code = lead & 0x07, minimum = 0x10000;
        }
        else
        {
            throw SourceError(lineNumber, "invalid UTF-8");
        }
        if (i + length > text.size())
        {
            throw SourceError(lineNumber, "invalid UTF-8");
        }
        for (int k = 1; k < length; ++k)
        {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
            {
                throw SourceError(lineNumber, "invalid UTF-8");
            }
            code = (code << 6) | (next & 0x3F);
        }
        if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        {
            throw SourceError(lineNumber, "invalid UTF-8");
        }
        if (code >= 0x10000)
        {
            code -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (code >> 10));
            out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        }
        else
        {
            out += static_cast<char16_t>(code);
        }
        i += length;
    }
    return out;
}

void PutWord(std::vector<unsigned char>& bytes, std::size_t offset, std::uint32_t value)
{
    for (int k = 0; k < 4; ++k)
    {
        bytes[offset + k] = static_cast<unsigned char>(value >> (8 * k));
    }
}

// Size, stamp, one entry word per text (distance from the entry to its body), then the bodies.
std::vector<unsigned char> BuildBundle(const std::vector<Entry>& entries)
{
    std::vector<unsigned char> bytes(HeaderSize + 4 * entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        const Entry& entry = entries[i];
        const std::size_t entryOffset = HeaderSize + 4 * i;
        if (entry.Wide && bytes.size() % 2 != 0)
        {
            bytes.push_back(0); // UTF-16 bodies stay 2-byte aligned
        }
        PutWord(bytes, entryOffset, static_cast<std::uint32_t>(bytes.size() - entryOffset));
        if (entry.Wide)
        {
            for (const char16_t unit : Utf8ToUtf16(entry.Text, entry.Line) + u'\0')
            {
                bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
                bytes.push_back(static_cast<unsigned char>(unit >> 8));
            }
        }
        else
        {
            bytes.insert(bytes.end(), entry.Text.begin(), entry.Text.end());
            bytes.push_back(0);
        }
    }
    while (bytes.size() % 4 != 0)
    {
        bytes.push_back(0);
    }
    PutWord(bytes, 0, static_cast<std::uint32_t>(bytes.size()));
    PutWord(bytes, 4, Stamp);
    return bytes;
}

std::string IdsHeader(const std::vector<Entry>& entries)
{
    std::ostringstream out;
    out << "// Generated by the catalog generator from catalog/texts.txt; do not edit.\n"
           "// Ids of the catalog's texts: Common::GetText(Common::Texts::Name) gives the text.\n"
           "#pragma once\n\n"
           "#include \"common/TextCatalog.h\"\n\n"
           "namespace Common\n{\n\n"
           "// Number of texts in the built-in bundle.\n"
           "inline constexpr std::uint32_t CatalogEntryCount = "
        << entries.size() << ";\n\nnamespace Texts\n{\n";
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        out << "inline constexpr " << (entries[i].Wide ? "WideTextId " : "NarrowTextId ") << entries[i].Name
            << "{" << HeaderSize + 4 * i << "};\n";
    }
    out << "} // namespace Texts\n\n} // namespace Common\n";
    return out.str();
}

std::string BundleSource(const std::vector<unsigned char>& bytes)
{
    std::ostringstream out;
    out << "// Generated by the catalog generator from catalog/texts.txt; do not edit.\n"
           "#include \"common/TextCatalog.h\"\n\n"
           "namespace Common::Detail\n{\n\n"
           "namespace\n{\n"
           "alignas(8) const unsigned char Bundle["
        << bytes.size() << "] = {";
    char hex[8];
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        std::snprintf(hex, sizeof hex, "0x%02X,", bytes[i]);
        out << (i % 16 == 0 ? "\n    " : " ") << hex;
    }
    out << "\n};\n} // namespace\n\n"
           "const void* BuiltInBundleBytes()\n{\n    return Bundle;\n}\n\n"
           "} // namespace Common::Detail\n";
    return out.str();
}

void WriteIfChanged(const std::string& path, const std::string& content)
{
    {
        std::ifstream existing(path, std::ios::binary);
        std::ostringstream old;
        old << existing.rdbuf();
        if (existing && old.str() == content)
        {
            return;
        }
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out.flush())
    {
        throw std::runtime_error("cannot write " + path);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: %s <texts.txt> <CatalogIds.h> <BuiltInBundle.cpp>\n", argv[0]);
        return 2;
    }
    const std::string sourcePath = argv[1];
    try
    {
        std::ifstream in(sourcePath, std::ios::binary);
        if (!in)
        {
            throw std::runtime_error("cannot read " + sourcePath);
        }
        const std::vector<Entry> entries = ReadEntries(in);
        const std::vector<unsigned char> bundle = BuildBundle(entries);
        WriteIfChanged(argv[2], IdsHeader(entries));
        WriteIfChanged(argv[3], BundleSource(bundle));
        return 0;
    }
    catch (const SourceError& error)
    {
        std::fprintf(stderr, "%s:%d: error: %s\n", sourcePath.c_str(), error.Line, error.what());
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s: error: %s\n", sourcePath.c_str(), error.what());
    }
    return 1;
}
