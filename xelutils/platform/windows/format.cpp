// The run-time's own formatter, kept from what the device's does not do: it would store through
// %n, and end the text at a character that the code page lacks.

#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include "xelutils/platform/posix/format_field.h"
#include "xelutils/platform/windows/device_calls.h"

#undef _vsnprintf
#undef _vsnwprintf

// In the run-time, but not in all headers.
extern "C" {
__declspec(dllimport) int _vsnprintf_l(char*, std::size_t, const char*, _locale_t, va_list);
}

namespace device_calls {

namespace {

bool IsInCodePage(wchar_t unit)
{
    BOOL isMissing = FALSE;
    WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, &unit, 1, nullptr, 0, nullptr, &isMissing);
    return !isMissing;
}

// Whether a narrow format has a wide text or character here.
bool IsWideText(const FormatField& field)
{
    const bool isOwn = field.conversion == 's' || field.conversion == 'c';
    if (!isOwn && field.conversion != 'S' && field.conversion != 'C')
        return false;
    if (field.size == FormatField::Size::bits32 || field.size == FormatField::Size::wide)
        return true;
    return !isOwn && field.size != FormatField::Size::bits16;
}

std::size_t SizeOfArgument(const FormatField& field)
{
    switch (field.conversion) {
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
        return sizeof(double);
    default:
        return field.size == FormatField::Size::bits64 ? sizeof(long long) : sizeof(void*);
    }
}

// Format and arguments that the run-time can be handed. A list of arguments is the address of the
// next one here, behind which the others lie.
template <class T> class SafeArguments {
public:
    SafeArguments(const T* format, va_list arguments)
        : m_format(format), m_arguments(arguments), m_next(arguments)
    {
        const T* at = format;
        while (*at != 0) {
            if (*at++ != '%')
                continue;
            if (*at == '%')
                ++at;
            else
                at = TakeField(at);
        }
        CopyChanged();
    }

    const T* Format() const { return m_shortFormat.empty() ? m_format : m_shortFormat.data(); }
    va_list Arguments() { return m_copy.empty() ? m_arguments : m_copy.data(); }

private:
    // An argument that is another one in the copy.
    struct Change {
        std::size_t offset;
        // Null for a character, which becomes "?".
        const wchar_t* text;
    };

    // Returns where to go on.
    const T* TakeField(const T* at)
    {
        static constexpr T kEnd[] = {0};
        FormatField field;
        const T* const next = ReadFormatField(at, field, [this] { return va_arg(m_next, int); });
        if (field.conversion == 'n') {
            m_shortFormat.assign(m_format, at - 1);
            m_shortFormat.push_back(0);
            return kEnd;
        }
        if (std::is_same_v<T, char> && IsWideText(field))
            ReplaceWhatIsMissing(field);
        if (field.conversion != 0)
            m_next += SizeOfArgument(field);
        return next;
    }

    void ReplaceWhatIsMissing(const FormatField& field)
    {
        const auto offset = static_cast<std::size_t>(m_next - m_arguments);
        if (field.conversion == 'c' || field.conversion == 'C') {
            if (!IsInCodePage(Next<wchar_t>()))
                m_changes.push_back({offset, nullptr});
            return;
        }
        const auto* const text = Next<const wchar_t*>();
        const std::size_t most = field.hasPrecision ? field.precision : INT_MAX;
        std::vector<wchar_t> replaced;
        bool isChanged = false;
        for (std::size_t i = 0; text != nullptr && i < most && text[i] != 0; ++i) {
            const bool isInPage = IsInCodePage(text[i]);
            replaced.push_back(isInPage ? text[i] : L'?');
            isChanged |= !isInPage;
        }
        if (!isChanged)
            return;
        replaced.push_back(0);
        m_texts.push_back(std::move(replaced));
        m_changes.push_back({offset, m_texts.back().data()});
    }

    // The next argument, which stays the next.
    template <class Argument> Argument Next() const
    {
        Argument argument;
        std::memcpy(&argument, m_next, sizeof argument);
        return argument;
    }

    void CopyChanged()
    {
        if (m_changes.empty())
            return;
        m_copy.assign(m_arguments, m_next);
        for (const Change& change : m_changes) {
            constexpr int kMissing = '?';
            char* const argument = m_copy.data() + change.offset;
            if (change.text != nullptr)
                std::memcpy(argument, &change.text, sizeof change.text);
            else
                std::memcpy(argument, &kMissing, sizeof kMissing);
        }
    }

    const T* const m_format;
    const va_list m_arguments;
    va_list m_next;
    std::vector<T> m_shortFormat;
    std::vector<Change> m_changes;
    std::vector<std::vector<wchar_t>> m_texts;
    std::vector<char> m_copy;
};

int FormatSafely(char* buffer, SIZE_T count, const char* format, va_list arguments)
{
    return _vsnprintf_l(buffer, count, format, DeviceLocale(), arguments);
}

int FormatSafely(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments)
{
    return _vsnwprintf_l(buffer, count, format, DeviceLocale(), arguments);
}

template <class T> int Format(T* buffer, SIZE_T count, const T* format, va_list arguments)
{
    if (format == nullptr)
        return 0;
    SafeArguments<T> safe(format, arguments);
    if (buffer != nullptr && count != 0)
        return FormatSafely(buffer, count, safe.Format(), safe.Arguments());
    // The run-time does not count a character for which there is no room.
    T some[64];
    return FormatSafely(some, std::size(some), safe.Format(), safe.Arguments()) == 0 ? 0 : -1;
}

} // namespace

int FormatNarrow(char* buffer, SIZE_T count, const char* format, va_list arguments)
{
    return Format(buffer, count, format, arguments);
}

int FormatWide(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments)
{
    return Format(buffer, count, format, arguments);
}

} // namespace device_calls
