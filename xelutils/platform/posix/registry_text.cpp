#include "xelutils/platform/posix/registry_text.h"

#include <algorithm>
#include <climits>
#include <optional>

#include "xelutils/platform/posix/utf.h"

namespace {

// ---- From bytes to lines ------------------------------------------------------------------

std::u16string DecodeUtf16(std::string_view bytes)
{
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        text.push_back(static_cast<char16_t>(low | high << 8));
    }
    return text;
}

std::u16string DecodeUtf8Text(std::string_view bytes)
{
    constexpr char32_t kReplacement = 0xFFFD;
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const DecodedUtf8 decoded = DecodeUtf8(bytes);
        AppendUtf16(text, decoded.length == 0 ? kReplacement : decoded.character);
        bytes.remove_prefix(std::max<std::size_t>(decoded.length, 1));
    }
    return text;
}

std::u16string DecodeByCodePage(std::string_view bytes)
{
    if (bytes.empty() || bytes.size() > INT_MAX)
        return {};
    // No page has more units than bytes.
    const int size = static_cast<int>(bytes.size());
    std::vector<wchar_t> units(bytes.size());
    const int count = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, units.data(), size);
    return {units.begin(), units.begin() + count};
}

std::u16string DecodeText(std::string_view bytes)
{
    constexpr std::string_view kUtf16Mark = "\xFF\xFE";
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
    if (bytes.starts_with(kUtf16Mark))
        return DecodeUtf16(bytes.substr(kUtf16Mark.size()));
    if (bytes.starts_with(kUtf8Mark))
        return DecodeUtf8Text(bytes.substr(kUtf8Mark.size()));
    return DecodeByCodePage(bytes);
}

bool IsBlank(char16_t unit)
{
    return unit == ' ' || unit == '\t';
}

// How many units stand before the first one that is either of the two. The string's own search of
// 16-bit units takes several times as long.
std::size_t LengthBefore(std::u16string_view text, char16_t one, char16_t other)
{
    const auto isEither = [=](char16_t unit) { return unit == one || unit == other; };
    const auto* const found = std::find_if(text.begin(), text.end(), isEither);
    return static_cast<std::size_t>(found - text.begin());
}

class Lines {
public:
    explicit Lines(std::u16string_view text) : m_rest(text) {}

    bool AtEnd() const { return m_rest.empty(); }
    // Of the line that was taken last.
    std::size_t Number() const { return m_number; }

    // Lines end in CR LF, LF or CR. Not at the end.
    std::u16string_view Take()
    {
        const std::size_t length = LengthBefore(m_rest, u'\r', u'\n');
        const std::u16string_view line = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        if (m_rest.starts_with(u"\r\n"))
            m_rest.remove_prefix(2);
        else if (!m_rest.empty())
            m_rest.remove_prefix(1);
        ++m_number;
        return line;
    }

    // The first unit of the next line that is not blank; a zero when there is none.
    char16_t FirstOfNext() const
    {
        const std::size_t start = m_rest.find_first_not_of(u" \t");
        return start == m_rest.npos ? u'\0' : m_rest[start];
    }

private:
    std::u16string_view m_rest;
    std::size_t m_number = 0;
};

// ---- Inside a line ------------------------------------------------------------------------

int DigitValue(char16_t unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    const int letter = unit | int{kAsciiCaseBit};
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// What is left of a line, from the front.
class Cursor {
public:
    explicit Cursor(std::u16string_view line) : m_rest(line) {}

    std::u16string_view Rest() const { return m_rest; }
    bool StartsWith(char16_t unit) const { return m_rest.starts_with(unit); }

    bool Take(char16_t unit)
    {
        if (!m_rest.starts_with(unit))
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    bool TakeWord(std::u16string_view word)
    {
        if (!SameName{}(m_rest.substr(0, word.size()), word))
            return false;
        m_rest.remove_prefix(word.size());
        return true;
    }

    void SkipBlanks()
    {
        while (!m_rest.empty() && IsBlank(m_rest.front()))
            m_rest.remove_prefix(1);
    }

    // Behind blanks: nothing or a comment.
    bool AtEnd()
    {
        SkipBlanks();
        return m_rest.empty() || m_rest.front() == ';';
    }

    // One to `most` hexadecimal digits, and no more.
    std::optional<DWORD> TakeNumber(std::size_t most)
    {
        DWORD number = 0;
        std::size_t digits = 0;
        while (!m_rest.empty() && DigitValue(m_rest.front()) >= 0) {
            if (++digits > most)
                return std::nullopt;
            number = number << 4 | static_cast<DWORD>(DigitValue(m_rest.front()));
            m_rest.remove_prefix(1);
        }
        return digits == 0 ? std::nullopt : std::optional(number);
    }

private:
    std::u16string_view m_rest;
};

// ---- Data ---------------------------------------------------------------------------------

std::vector<BYTE> BytesOfText(std::u16string_view text)
{
    std::vector<BYTE> bytes(text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
        bytes[2 * i] = static_cast<BYTE>(text[i] & 0xFF);
        bytes[2 * i + 1] = static_cast<BYTE>(text[i] >> 8);
    }
    return bytes;
}

std::vector<BYTE> WidenedBytes(const std::vector<BYTE>& bytes)
{
    return BytesOfText(
        DecodeByCodePage({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
}

// ---- The reader ---------------------------------------------------------------------------

// Members that take something answer with Refuse's false when a rule is broken.
class Reader {
public:
    Reader(std::u16string_view text, Registry& registry, RegistryFaults& faults)
        : m_lines(text), m_registry(registry), m_faults(faults)
    {
    }

    void Run()
    {
        if (!TakeHeader())
            return;
        // What was refused has been noted; the rest is read all the same.
        while (!m_lines.AtEnd())
            TakeLine();
    }

private:
    bool Refuse(const char* what)
    {
        if (m_faults.count++ == 0) {
            m_faults.line = m_lines.Number();
            m_faults.what = what;
        }
        return false;
    }

    bool TakeHeader()
    {
        std::u16string_view line;
        do {
            if (m_lines.AtEnd())
                return Refuse("there is no header");
            line = m_lines.Take();
        } while (Cursor(line).AtEnd());
        Cursor header(line);
        header.SkipBlanks();
        m_isVersion4 = header.TakeWord(u"REGEDIT4");
        if (!m_isVersion4 && !header.TakeWord(u"Windows Registry Editor Version 5.00"))
            return Refuse(
                "neither REGEDIT4 nor Windows Registry Editor Version 5.00 is the header");
        return header.AtEnd() || Refuse("text stands behind the header");
    }

    bool TakeLine()
    {
        Cursor line(m_lines.Take());
        if (line.AtEnd())
            return true;
        if (line.Rest().find(u'\0') != line.Rest().npos)
            return Refuse("there is a zero character in the line");
        if (line.Take('['))
            return TakeKey(line);
        if (line.StartsWith('"') || line.StartsWith('@'))
            return TakeValue(line);
        return Refuse("neither a key nor a value nor a comment");
    }

    // ---- Keys

    bool TakeKey(Cursor line)
    {
        m_hasKeyLine = true;
        m_key = nullptr;
        // Names of keys may hold brackets, so it is the last one that closes.
        const std::size_t closing = line.Rest().rfind(u']');
        if (closing == line.Rest().npos)
            return Refuse("a key lacks its closing ']'");
        if (!Cursor(line.Rest().substr(closing + 1)).AtEnd())
            return Refuse("text stands behind a key");
        const bool removes = line.Take('-');
        std::u16string_view path = line.Rest().substr(0, closing - (removes ? 1 : 0));
        RegistryKey* const root = FindRoot(TakeKeyName(path));
        if (root == nullptr)
            return Refuse("a key begins with none of the device's roots");
        if (!IsSoundPath(path))
            return false;
        if (removes)
            return RemoveKey(*root, path);
        m_key = root;
        while (!path.empty())
            m_key = &m_key->keys.FindOrAdd(TakeKeyName(path));
        return true;
    }

    RegistryKey* FindRoot(std::u16string_view name)
    {
        const auto* const root =
            std::find_if(std::begin(kRegistryRoots), std::end(kRegistryRoots),
                         [name](std::u16string_view each) { return SameName{}(each, name); });
        return root == std::end(kRegistryRoots) ? nullptr
                                                : &m_registry.roots[root - kRegistryRoots];
    }

    bool IsSoundPath(std::u16string_view path)
    {
        for (std::size_t depth = 0; !path.empty(); ++depth) {
            if (TakeKeyName(path).empty())
                return Refuse("a name is empty among a key's");
            if (depth == kMaxRegistryDepth)
                return Refuse("a key lies too deep");
        }
        return true;
    }

    bool RemoveKey(RegistryKey& root, std::u16string_view path)
    {
        if (path.empty())
            return Refuse("a root cannot be removed");
        RegistryKey* key = &root;
        std::u16string_view name = TakeKeyName(path);
        for (; !path.empty() && key != nullptr; name = TakeKeyName(path))
            key = key->keys.Find(name);
        if (key != nullptr)
            key->keys.Remove(name);
        return true;
    }

    // ---- Values

    bool TakeValue(Cursor line)
    {
        if (!m_hasKeyLine)
            return Refuse("a value stands before the first key");
        RegistryValue value;
        if (!line.Take('@') && !TakeText(line, value.name))
            return false;
        line.SkipBlanks();
        if (!line.Take('='))
            return Refuse("a value lacks its '='");
        line.SkipBlanks();
        const bool removes = line.Take('-');
        if (!removes && !TakeData(line, value))
            return false;
        if (!line.AtEnd())
            return Refuse("text stands behind a value");
        if (m_key == nullptr)
            return true;
        if (removes) {
            m_key->values.Remove(value.name);
            return true;
        }
        RegistryValue& place = m_key->values.FindOrAdd(value.name);
        place.type = value.type;
        place.data = std::move(value.data);
        return true;
    }

    // Quoted text.
    bool TakeText(Cursor& line, std::u16string& text)
    {
        line.Take('"');
        for (;;) {
            const std::u16string_view rest = line.Rest();
            const std::size_t length = LengthBefore(rest, u'"', u'\\');
            if (length == rest.size())
                return Refuse("a text lacks its closing quote");
            text += rest.substr(0, length);
            line = Cursor(rest.substr(length));
            if (line.Take('"'))
                return true;
            line.Take('\\');
            if (!line.StartsWith('"') && !line.StartsWith('\\'))
                return Refuse("a '\\' in a text must be doubled");
            text += line.Rest().front();
            line.Take(text.back());
        }
    }

    bool TakeData(Cursor& line, RegistryValue& value)
    {
        if (line.StartsWith('"')) {
            std::u16string text;
            if (!TakeText(line, text))
                return false;
            text.push_back(u'\0');
            value.type = REG_SZ;
            value.data = BytesOfText(text);
            return true;
        }
        if (line.TakeWord(u"dword:"))
            return TakeDword(line, value);
        if (line.TakeWord(u"hex"))
            return TakeHex(line, value);
        return Refuse("a value is neither text nor dword nor hex");
    }

    bool TakeDword(Cursor& line, RegistryValue& value)
    {
        constexpr std::size_t kDigits = 8;
        line.SkipBlanks();
        const std::optional<DWORD> number = line.TakeNumber(kDigits);
        if (!number)
            return Refuse("a dword is not one to eight hexadecimal digits");
        value.type = REG_DWORD;
        for (unsigned shift = 0; shift < 32; shift += 8)
            value.data.push_back(static_cast<BYTE>(*number >> shift & 0xFF));
        return true;
    }

    bool TakeHex(Cursor& line, RegistryValue& value)
    {
        constexpr std::size_t kTypeDigits = 8;
        value.type = REG_BINARY;
        if (line.Take('(')) {
            const std::optional<DWORD> type = line.TakeNumber(kTypeDigits);
            if (!type || !line.Take(')'))
                return Refuse("the type of a hex value is no hexadecimal number in brackets");
            value.type = *type;
        }
        if (!line.Take(':'))
            return Refuse("a hex value lacks its ':'");
        if (!TakeBytes(line, value.data)) {
            SkipRestOfBytes(line);
            return false;
        }
        if (m_isVersion4 && (value.type == REG_EXPAND_SZ || value.type == REG_MULTI_SZ))
            value.data = WidenedBytes(value.data);
        return true;
    }

    // Over as many lines as it takes; `line` is the last of them then.
    bool TakeBytes(Cursor& line, std::vector<BYTE>& bytes)
    {
        constexpr std::size_t kDigits = 2;
        while (!line.AtEnd()) {
            if (line.StartsWith('\\')) {
                if (!ContinueBytes(line))
                    return false;
                continue;
            }
            const std::optional<DWORD> byte = line.TakeNumber(kDigits);
            if (!byte)
                return Refuse("a byte is not one or two hexadecimal digits");
            bytes.push_back(static_cast<BYTE>(*byte));
            if (!line.AtEnd() && !line.Take(',') && !line.StartsWith('\\'))
                return Refuse("there is no ',' between bytes");
        }
        return true;
    }

    bool ContinueBytes(Cursor& line)
    {
        Cursor behind = line;
        behind.Take('\\');
        if (!behind.AtEnd())
            return Refuse("text stands behind the '\\' that continues a line");
        while (m_lines.FirstOfNext() == ';')
            m_lines.Take();
        if (!NextHasBytes())
            return Refuse("no bytes follow the '\\' that continues a line");
        line = Cursor(m_lines.Take());
        return true;
    }

    bool NextHasBytes() const { return DigitValue(m_lines.FirstOfNext()) >= 0; }

    // The lines that continue one that was broken are not lines of their own.
    void SkipRestOfBytes(Cursor line)
    {
        const auto isContinued = [](std::u16string_view text) {
            const std::size_t last = text.find_last_not_of(u" \t");
            return last != text.npos && text[last] == '\\';
        };
        while (isContinued(line.Rest()) && NextHasBytes())
            line = Cursor(m_lines.Take());
    }

    Lines m_lines;
    Registry& m_registry;
    RegistryFaults& m_faults;
    bool m_isVersion4 = false;
    bool m_hasKeyLine = false;
    // Null behind a line that removes a key or is broken: the values that follow belong nowhere.
    RegistryKey* m_key = nullptr;
};

void CloseGaps(RegistryKey& key)
{
    key.values.CloseGaps();
    key.keys.CloseGaps();
    for (const auto& each : key.keys.All())
        CloseGaps(*each);
}

} // namespace

Registry ReadRegistryText(std::string_view bytes, RegistryFaults& faults)
{
    Registry registry;
    faults = {};
    const std::u16string text = DecodeText(bytes);
    Reader(text, registry, faults).Run();
    for (RegistryKey& root : registry.roots)
        CloseGaps(root);
    return registry;
}
