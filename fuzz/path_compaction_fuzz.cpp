// Paths shortened for a window against a model that works on whole components.
#include <optional>
#include <vector>

#include "fuzz_input.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/fixed_cell_window.h"

using String = xel_text::CXelStringT<wchar_t>;

namespace {

constexpr int kMostUnits = 400;

String Path(FuzzInput& input)
{
    static constexpr wchar_t kUnits[] = L"\\\\/.abcdefgh \x65E5\x0301\xD83D\xDE00";
    String path;
    while (!input.Empty() && path.GetLength() < kMostUnits)
        path += kUnits[input.Byte() % (sizeof kUnits / sizeof *kUnits - 1)];
    return path;
}

struct Components {
    std::vector<String> list;
    String separator;

    Components(const String& text, wchar_t ch) : separator(ch, 1)
    {
        String component;
        for (const wchar_t unit : text) {
            if (unit == ch) {
                list.push_back(component);
                component.Empty();
            } else {
                component += unit;
            }
        }
        list.push_back(component);
    }

    String Joined() const
    {
        String text = list.front();
        for (std::size_t i = 1; i < list.size(); ++i)
            text += separator + list[i];
        return text;
    }

    // The folder that becomes the ellipsis. Neither the first component nor the last one can.
    std::optional<std::size_t> EllipsisPlace() const
    {
        for (std::size_t i = 1; i + 1 < list.size() && !list[i].IsEmpty(); ++i) {
            if (list[i].GetLength() >= 3)
                return i;
        }
        return std::nullopt;
    }
};

String Model(String text, int columns, wchar_t separator)
{
    const int last = text.GetLength() - 1;
    const bool closed = last >= 3 && text.GetAt(last) == separator;
    if (closed)
        text = text.Left(last);
    if (text.IsEmpty() || columns <= 0)
        return text;
    const int available = columns - columns / 10;

    const auto fits = [&](const String& candidate) {
        return CellsOfText(candidate, candidate.GetLength()) <= available;
    };
    Components components(text, separator);
    const std::optional<std::size_t> place = components.EllipsisPlace();
    if (!fits(text) && place) {
        auto& list = components.list;
        list[*place] = L"...";
        const auto next = list.begin() + static_cast<std::ptrdiff_t>(*place) + 1;
        while (!fits(components.Joined()) && list.end() - next > 1)
            list.erase(next);
        text = components.Joined();
    }
    return closed ? text + separator : text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const int columns = static_cast<int>(input.Byte()) - 3;
    const wchar_t separator = L"\\\\\\/.a\xD83D"[input.Byte() % 8];
    const String path = Path(input);
    const FixedCellWindow window(columns);
    const String compact = FileFuncsEx::CompactPath(&window, path, separator);
    const String wanted = Model(path, columns, separator);
    FUZZ_REQUIRE(compact.GetLength() == wanted.GetLength());
    FUZZ_REQUIRE(compact == wanted);
    return 0;
}
