#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/format_field.h"

namespace {

constexpr int kMaxInserts = 99;
// Every insert may have one argument more than its number says, the last one two.
constexpr int kMaxArguments = 2 * kMaxInserts + 1;
// Widths and precisions beyond this are a fault in the pattern.
constexpr unsigned kMaxWidth = 0xFFFF;

// The text that is handed out in the end. Grows as needed; a growth that fails keeps the old text.
class MessageText {
public:
    ~MessageText() { std::free(m_text); }

    // Room for `length` units more and a terminator.
    bool Reserve(std::size_t length)
    {
        // Also where the host counts bytes in 32 bits nothing below overflows.
        constexpr std::size_t kMaxLength = SIZE_MAX / 8;
        if (length > kMaxLength - m_length)
            return false;
        const std::size_t needed = m_length + length + 1;
        if (needed <= m_capacity)
            return true;
        const std::size_t capacity = needed + needed / 2;
        void* const text = std::realloc(m_text, capacity * sizeof(wchar_t));
        if (!text)
            return false;
        m_text = static_cast<wchar_t*>(text);
        m_capacity = capacity;
        return true;
    }
    bool Append(const wchar_t* text, std::size_t length)
    {
        if (!Reserve(length))
            return false;
        for (std::size_t i = 0; i < length; ++i)
            m_text[m_length + i] = text[i];
        m_length += length;
        return true;
    }
    // Where the next units go; after Reserve.
    wchar_t* End() { return m_text + m_length; }
    void Lengthen(std::size_t length) { m_length += length; }

    std::size_t Length() const { return m_length; }
    wchar_t* Release()
    {
        m_text[m_length] = 0;
        wchar_t* const text = m_text;
        m_text = nullptr;
        return text;
    }

private:
    wchar_t* m_text = nullptr;
    std::size_t m_length = 0;
    std::size_t m_capacity = 0;
};

// ---- The pattern ---------------------------------------------------------------------------

// One piece of a pattern: text, or an insert.
struct Piece {
    const wchar_t* text;
    std::size_t length;
    // 1 to 99; 0 for text.
    int insert = 0;
    // How the insert is shown, and what stands behind that between the exclamation marks.
    FormatField field;
    bool starWidth = false;
    bool starPrecision = false;
    const wchar_t* rest = nullptr;
    std::size_t restLength = 0;
};

Piece Text(const wchar_t* text, std::size_t length)
{
    Piece piece;
    piece.text = text;
    piece.length = length;
    return piece;
}

bool IsDigit(wchar_t character)
{
    return character >= '0' && character <= '9';
}

// What a conversion takes from the arguments; floating point is not among the platform's inserts.
bool TakesArgument(char conversion)
{
    switch (conversion) {
    case 0:
    case 'n':
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
        return false;
    default:
        return true;
    }
}

// "5d!" after "%1!". Null when the closing mark is missing.
const wchar_t* ReadInsertFormat(const wchar_t* at, Piece& piece)
{
    const wchar_t* end = at;
    while (*end != 0 && *end != '!')
        ++end;
    if (*end == 0)
        return nullptr;
    piece.field = {};
    // The stars' values come later: only their places are noted, in the order of reading.
    const wchar_t* const widthEnd = format_field::ReadFlags(at, piece.field);
    piece.starWidth = *widthEnd == '*';
    const wchar_t* rest = ReadFormatField(at, piece.field, [] { return 0; });
    const wchar_t* point = widthEnd;
    while (point != rest && *point != '.')
        ++point;
    piece.starPrecision = point != rest && point[1] == '*';
    if (!TakesArgument(piece.field.conversion)) {
        // What means nothing is text. Storing is not done.
        if (piece.field.conversion != 0 && piece.field.conversion != 'n')
            --rest;
        piece.field.conversion = 0;
        piece.starWidth = piece.starPrecision = false;
    }
    piece.rest = rest;
    piece.restLength = static_cast<std::size_t>(end - rest);
    return end + 1;
}

// "%1" and "%12!5d!".
const wchar_t* ReadInsert(const wchar_t* at, Piece& piece)
{
    piece = Text(at, 0);
    piece.insert = *at++ - '0';
    if (IsDigit(*at))
        piece.insert = piece.insert * 10 + (*at++ - '0');
    piece.field.conversion = 's';
    return *at == '!' ? ReadInsertFormat(at + 1, piece) : at;
}

// Reads what follows a "%". Null for a pattern that ends there.
const wchar_t* ReadEscape(const wchar_t* at, Piece& piece)
{
    if (*at == 0)
        return nullptr;
    if (IsDigit(*at))
        return ReadInsert(at, piece);
    if (*at == 'n')
        piece = Text(L"\r\n", 2);
    else if (*at == 'r')
        piece = Text(L"\r", 1);
    else if (*at == 't')
        piece = Text(L"\t", 1);
    else
        piece = Text(at, 1);
    return at + 1;
}

// Calls `use` with each piece of a pattern until it returns false. False for a pattern that cannot
// be read and when `use` ended it.
template <class Use> bool ForEachPiece(const wchar_t* at, Use use)
{
    while (*at != 0) {
        Piece piece;
        if (*at == '%') {
            // "%0" ends the message.
            if (at[1] == '0')
                return true;
            at = ReadEscape(at + 1, piece);
            if (!at)
                return false;
        } else if (*at == '\r' || *at == '\n') {
            at += at[0] == '\r' && at[1] == '\n' ? 2 : 1;
            piece = Text(L"\r\n", 2);
        } else {
            const wchar_t* const start = at;
            while (*at != 0 && *at != '%' && *at != '\r' && *at != '\n')
                ++at;
            piece = Text(start, static_cast<std::size_t>(at - start));
        }
        if (!use(piece))
            return false;
    }
    return true;
}

// ---- The arguments -------------------------------------------------------------------------

// Words in the order of the call, each fetched in the size that the pattern says.
//
// Width and precision, where they are stars, stand in front of the value of their insert, and move
// the arguments of all higher numbers one place on, both together too:
//
//   %1!*.*s! %3 %4!*s!    takes 4, 2, "Bill", "Bob", 6, "Bill"
class MessageArguments {
public:
    // False for a pattern that cannot be read.
    bool Fetch(const wchar_t* pattern, va_list* list)
    {
        if (!CountStars(pattern))
            return false;
        bool isLong[kMaxArguments + 1] = {};
        int count = 0;
        ForEachPiece(pattern, [&](const Piece& piece) {
            if (piece.insert != 0 && piece.field.conversion != 0) {
                const int place = ValuePlace(piece);
                isLong[place] |= piece.field.size == FormatField::Size::bits64;
                count = std::max(count, place);
            }
            return true;
        });
        if (count > 0 && !list)
            return false;
        for (int place = 1; place <= count; ++place)
            m_words[place] =
                isLong[place] ? va_arg(*list, unsigned long long) : va_arg(*list, std::uintptr_t);
        return true;
    }

    // The places of a piece's arguments. Of the same number with and without stars the value is
    // the same.
    int WidthPlace(const Piece& piece) const { return m_firstPlace[piece.insert]; }
    int PrecisionPlace(const Piece& piece) const
    {
        return m_firstPlace[piece.insert] + (piece.starWidth ? 1 : 0);
    }
    int ValuePlace(const Piece& piece) const
    {
        return m_firstPlace[piece.insert] + m_stars[piece.insert];
    }

    int Int(int place) const { return static_cast<int>(m_words[place]); }
    long long Long(int place) const { return static_cast<long long>(m_words[place]); }
    const void* Pointer(int place) const
    {
        return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(m_words[place]));
    }

private:
    bool CountStars(const wchar_t* pattern)
    {
        const bool sound = ForEachPiece(pattern, [&](const Piece& piece) {
            const int stars = (piece.starWidth ? 1 : 0) + (piece.starPrecision ? 1 : 0);
            m_stars[piece.insert] = std::max(m_stars[piece.insert], stars);
            return piece.field.width <= kMaxWidth && piece.field.precision <= kMaxWidth;
        });
        int place = 1;
        for (int number = 1; number <= kMaxInserts; ++number) {
            m_firstPlace[number] = place;
            place += m_stars[number] == 0 ? 1 : 2;
        }
        return sound;
    }

    int m_stars[kMaxInserts + 1] = {};
    int m_firstPlace[kMaxInserts + 1] = {};
    unsigned long long m_words[kMaxArguments + 1] = {};
};

// ---- Inserts -------------------------------------------------------------------------------

int Print(wchar_t* buffer, std::size_t count, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = _vsnwprintf(buffer, count, format, arguments);
    va_end(arguments);
    return length;
}

// The format of an insert, with "*" for width and precision.
struct InsertFormat {
    wchar_t text[16];

    explicit InsertFormat(const FormatField& field)
    {
        wchar_t* at = text;
        const auto put = [&at](bool wanted, const char* characters) {
            for (; wanted && *characters != 0; ++characters)
                *at++ = static_cast<wchar_t>(*characters);
        };
        put(true, "%");
        put(field.left, "-");
        put(field.plus, "+");
        put(field.space, " ");
        put(field.alternate, "#");
        put(field.zero, "0");
        put(true, "*.*");
        put(field.size == FormatField::Size::bits16, "h");
        put(field.size == FormatField::Size::bits32, "l");
        put(field.size == FormatField::Size::wide, "w");
        put(field.size == FormatField::Size::bits64, "I64");
        put(field.size == FormatField::Size::pointer, "I");
        *at++ = static_cast<wchar_t>(field.conversion);
        *at = 0;
    }
};

// As Print, with the insert's argument.
int PrintInsert(wchar_t* buffer, std::size_t count, const Piece& piece,
                const MessageArguments& arguments)
{
    const FormatField& field = piece.field;
    const InsertFormat format(field);
    const int value = arguments.ValuePlace(piece);
    const int width = piece.starWidth ? arguments.Int(arguments.WidthPlace(piece))
                                      : static_cast<int>(field.width);
    int precision = field.hasPrecision ? static_cast<int>(field.precision) : -1;
    if (piece.starPrecision)
        precision = arguments.Int(arguments.PrecisionPlace(piece));

    switch (field.conversion) {
    case 's':
    case 'S':
    case 'p':
        return Print(buffer, count, format.text, width, precision, arguments.Pointer(value));
    default:
        if (field.size == FormatField::Size::bits64)
            return Print(buffer, count, format.text, width, precision, arguments.Long(value));
        if (field.size == FormatField::Size::pointer)
            return Print(buffer, count, format.text, width, precision,
                         static_cast<std::intptr_t>(arguments.Long(value)));
        return Print(buffer, count, format.text, width, precision, arguments.Int(value));
    }
}

bool IsWidthSound(const Piece& piece, const MessageArguments& arguments)
{
    const auto fits = [](int width) {
        return width <= static_cast<int>(kMaxWidth) && width >= -static_cast<int>(kMaxWidth);
    };
    return (!piece.starWidth || fits(arguments.Int(arguments.WidthPlace(piece)))) &&
           (!piece.starPrecision || fits(arguments.Int(arguments.PrecisionPlace(piece))));
}

// Most inserts fit at once; the room doubles until they do.
DWORD AppendInsert(MessageText& message, const Piece& piece, const MessageArguments& arguments)
{
    if (!IsWidthSound(piece, arguments))
        return ERROR_INVALID_PARAMETER;
    for (std::size_t room = 64;; room *= 2) {
        if (!message.Reserve(room))
            return ERROR_NOT_ENOUGH_MEMORY;
        const int length = PrintInsert(message.End(), room, piece, arguments);
        if (length >= 0) {
            message.Lengthen(static_cast<std::size_t>(length));
            return ERROR_SUCCESS;
        }
    }
}

DWORD AppendPiece(MessageText& message, const Piece& piece, const MessageArguments& arguments)
{
    if (piece.insert == 0)
        return message.Append(piece.text, piece.length) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
    if (piece.field.conversion != 0) {
        if (const DWORD error = AppendInsert(message, piece, arguments); error != ERROR_SUCCESS)
            return error;
    }
    return message.Append(piece.rest, piece.restLength) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD BuildMessage(MessageText& message, const wchar_t* pattern, va_list* list)
{
    MessageArguments arguments;
    if (!arguments.Fetch(pattern, list))
        return ERROR_INVALID_PARAMETER;
    DWORD error = ERROR_SUCCESS;
    ForEachPiece(pattern, [&](const Piece& piece) {
        error = AppendPiece(message, piece, arguments);
        return error == ERROR_SUCCESS;
    });
    if (error == ERROR_SUCCESS && message.Length() == 0)
        error = ERROR_NO_WORK_DONE;
    return error;
}

} // namespace

DWORD FormatMessageW(DWORD flags, const void* source, DWORD, DWORD, wchar_t* buffer, DWORD,
                     va_list* arguments)
{
    wchar_t** const result = reinterpret_cast<wchar_t**>(buffer);
    if (result)
        *result = nullptr;
    if (!result || flags != (FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING) ||
        !source) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    MessageText message;
    const DWORD error = BuildMessage(message, static_cast<const wchar_t*>(source), arguments);
    if (error != ERROR_SUCCESS) {
        SetLastError(error);
        return 0;
    }
    const std::size_t length = message.Length();
    *result = message.Release();
    return static_cast<DWORD>(length);
}

HLOCAL LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}
