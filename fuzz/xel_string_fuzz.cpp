// Editing of wide strings against std::u16string as a model; a copy that shares the text must
// never change with it.
#include <string>

#include "fuzz_input.h"
#include "xelutils/text/xel_string.h"
#include "xelutils/text/xel_utf.h"

using String = xel_text::CXelStringT<wchar_t>;

namespace {

// The model's text ends at a zero where the string looks no further.
std::u16string_view Terminated(const std::u16string& text)
{
    return std::u16string_view(text).substr(0, text.find(u'\0'));
}

std::u16string Text(FuzzInput& input)
{
    std::u16string text;
    for (unsigned length = input.Byte() % 6; length > 0; --length) {
        const wchar_t unit = input.Unit();
        if (unit != 0)
            text += static_cast<char16_t>(unit);
    }
    return text;
}

const wchar_t* Wide(const std::u16string& text)
{
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

int ReplaceInModel(std::u16string& model, const std::u16string& from, const std::u16string& to)
{
    if (from.empty())
        return 0;
    int count = 0;
    for (std::size_t at = 0; (at = model.find(from, at)) != std::u16string::npos; ++count) {
        model.replace(at, from.size(), to);
        at += to.size();
    }
    return count;
}

void Step(FuzzInput& input, String& text, std::u16string& model)
{
    const int length = static_cast<int>(model.size());
    const int index = input.Index(length);
    const auto clamped = static_cast<std::size_t>(std::clamp(index, 0, length));
    const wchar_t unit = input.Unit();
    const auto unit16 = static_cast<char16_t>(unit);
    switch (input.Byte() % 16) {
    case 0:
        text += unit;
        model += unit16;
        break;
    case 1:
        FUZZ_REQUIRE(text.Insert(index, unit) == length + 1);
        model.insert(clamped, 1, unit16);
        break;
    case 2: {
        const std::u16string more = Text(input);
        FUZZ_REQUIRE(text.Insert(index, Wide(more)) == length + static_cast<int>(more.size()));
        model.insert(clamped, more);
        break;
    }
    case 3: {
        const int count = input.Index(length);
        FUZZ_REQUIRE(text.Delete(index, count) == length);
        if (count > 0)
            model.erase(clamped, static_cast<std::size_t>(count));
        break;
    }
    case 4: {
        const std::u16string from = Text(input), to = Text(input);
        FUZZ_REQUIRE(text.Replace(Wide(from), Wide(to)) == ReplaceInModel(model, from, to));
        break;
    }
    case 5: {
        const auto other = static_cast<char16_t>(input.Unit());
        const int expected =
            other == unit16 ? 0 : static_cast<int>(std::count(model.begin(), model.end(), unit16));
        FUZZ_REQUIRE(text.Replace(unit, static_cast<wchar_t>(other)) == expected);
        std::replace(model.begin(), model.end(), unit16, other);
        break;
    }
    case 6:
        FUZZ_REQUIRE(text.Remove(unit) == static_cast<int>(std::erase(model, unit16)));
        break;
    case 7: {
        const int count = input.Index(length);
        text = text.Mid(index, count);
        model = model.substr(clamped, static_cast<std::size_t>(std::max(count, 0)));
        break;
    }
    case 8: {
        const auto end = Terminated(model).find_last_not_of(unit16);
        const auto kept = end == std::u16string::npos ? 0 : end + 1;
        text.TrimRight(unit);
        if (unit != 0 && kept != Terminated(model).size())
            model.resize(kept);
        break;
    }
    case 9: {
        const std::u16string set = Text(input);
        const std::size_t textLength = Terminated(model).size();
        text.TrimLeft(Wide(set));
        model.erase(0, std::min(Terminated(model).find_first_not_of(set), textLength));
        break;
    }
    case 10: {
        const std::u16string wanted = Text(input);
        if (index >= 0 && index <= length) {
            const std::u16string tail = model.substr(static_cast<std::size_t>(index));
            const auto found = Terminated(tail).find(wanted);
            const int expected =
                found == std::u16string::npos ? -1 : static_cast<int>(found) + index;
            FUZZ_REQUIRE(text.Find(Wide(wanted), index) == expected);
        }
        break;
    }
    case 11: {
        const std::u16string other = Text(input);
        const int order = Terminated(model).compare(other);
        FUZZ_REQUIRE(text.Compare(Wide(other)) == (order > 0) - (order < 0));
        FUZZ_REQUIRE((text == Wide(other)) == (order == 0));
        break;
    }
    case 12:
        text += text;
        model += model;
        break;
    case 13: {
        // A piece of the string's own text, up to its terminator.
        const std::u16string piece(Terminated(model.substr(clamped)).data());
        text.Insert(static_cast<int>(unit), text.GetString() + clamped);
        model.insert(std::min<std::size_t>(unit16, model.size()), piece);
        break;
    }
    case 14:
        text.GetBuffer(index * 3);
        text.ReleaseBuffer(length);
        break;
    default:
        text.FreeExtra();
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kLongest = 4000;
    FuzzInput input(data, size);
    String text;
    std::u16string model;
    while (!input.Empty() && model.size() < kLongest) {
        const String shared = input.Byte() % 2 ? text : String();
        const std::u16string before = shared.IsEmpty() ? std::u16string() : model;
        Step(input, text, model);
        FUZZ_REQUIRE(ToUtf16(text) == model);
        FUZZ_REQUIRE(ToUtf16(shared) == before);
        FUZZ_REQUIRE(text.GetString()[text.GetLength()] == 0);
        FUZZ_REQUIRE(text.GetLength() <= text.GetAllocLength());
    }
    return 0;
}
