// Lists, tokens and the growable array against std::u16string and std::vector as models. Texts and
// delimiters are often elements of the list that is being filled.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "xelutils/formats/xel_formats.h"
#include "xelutils/text/xel_utf.h"

using namespace xel_formats;
using String = CXelStringT<wchar_t>;
using Model = std::vector<std::u16string>;

namespace {

constexpr std::u16string_view kBlanks = u" \t\n\v\f\r";

// Few different units, so that delimiters occur; zeros among them.
char16_t Unit(FuzzInput& input)
{
    return input.One(u"aab ,,;\r\n\t\xFFE9");
}

std::size_t TerminatedLength(const std::u16string& text)
{
    return std::min(text.find(u'\0'), text.size());
}

std::u16string Terminated(const std::u16string& text)
{
    return text.substr(0, TerminatedLength(text));
}

// A text of its own or an element of the list; `model` is a copy of it.
template <class List> class Text {
public:
    Text(FuzzInput& input, const List& list)
    {
        const unsigned kind = input.Byte();
        if (kind % 2 && list.size() != 0) {
            m_element = &list[kind / 2 % list.size()];
        } else {
            std::u16string units;
            for (unsigned length = kind / 2 % 24; length > 0; --length)
                units += Unit(input);
            m_own = xel_text::FromUtf16(units);
        }
        model = ToUtf16(*this);
    }
    operator const String&() const { return m_element ? *m_element : m_own; }

    std::u16string model;

private:
    String m_own;
    const String* m_element = nullptr;
};

// The first zero ends what is trimmed, and what stands behind it goes with blanks in front of it.
std::u16string Cleaned(std::u16string value)
{
    value.erase(0, std::min(value.find_first_not_of(kBlanks), value.size()));
    const std::size_t kept = Terminated(value).find_last_not_of(kBlanks) + 1;
    if (kept != TerminatedLength(value))
        value.resize(kept);
    std::erase(value, u'\r');
    std::erase(value, u'\n');
    return value;
}

void SplitModel(std::u16string rest, Model& values, const std::u16string& delimiters)
{
    do {
        const std::size_t found = Terminated(rest).find_first_of(Terminated(delimiters));
        const bool splits = found != std::u16string::npos && found > 0;
        values.push_back(Cleaned(splits ? rest.substr(0, found) : rest));
        rest = splits ? rest.substr(found + 1) : std::u16string();
    } while (!rest.empty());
}

bool ParseModel(const std::u16string& text, Model& values, char16_t delimiter,
                const std::u16string& forbidden)
{
    std::size_t start = 0;
    do {
        const std::u16string rest = text.substr(start);
        std::size_t found = delimiter ? Terminated(rest).find(delimiter) : TerminatedLength(rest);
        if (rest.empty())
            found = std::u16string::npos;
        const bool splits = found != std::u16string::npos && start + found > 0;
        const std::u16string value = Cleaned(splits ? rest.substr(0, found) : rest);
        if (Terminated(value).find_first_of(Terminated(forbidden)) != std::u16string::npos)
            return false;
        values.push_back(value);
        start = splits ? start + found + 1 : text.size();
    } while (start < text.size());
    return true;
}

// With delimiters; a zero ends a token.
Model TokensModel(const std::u16string& text, const std::u16string& delimiters)
{
    Model tokens;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t first = text.find_first_not_of(delimiters, at);
        if (first == std::u16string::npos)
            break;
        const std::size_t end =
            std::min(text.find_first_of(delimiters + u'\0', first), text.size());
        tokens.push_back(text.substr(first, end - first));
        at = end + 1;
    }
    return tokens;
}

void CheckTokens(FuzzInput& input, StringVector& tokens, Model& model)
{
    const Text text(input, tokens), delimiters(input, tokens);
    const String whole(text), set(delimiters);
    const std::u16string ends = Terminated(delimiters.model);
    if (ends.empty())
        model = text.model.empty() ? Model() : Model{text.model};
    else
        model = TokensModel(text.model, ends);
    Tokenize(text, tokens, static_cast<const String&>(delimiters));

    // One by one from some place: always onwards, to the end.
    int position = input.Index(whole.GetLength());
    if (ends.empty() || position < 0)
        return;
    while (position >= 0) {
        const int before = position;
        const std::u16string token(ToUtf16(Tokenize(whole, set, position)));
        FUZZ_REQUIRE(position == -1 || position > before);
        FUZZ_REQUIRE(token.find_first_of(ends) == std::u16string::npos);
    }
}

void CheckQueries(FuzzInput& input, const StringArray& values, const Model& model)
{
    const Text text(input, values);
    const auto isText = [&](const std::u16string& value) {
        return Terminated(value) == Terminated(text.model);
    };
    FUZZ_REQUIRE(IsStringInStringArray(values, text) ==
                 std::any_of(model.begin(), model.end(), isText));
    std::u16string joined;
    for (const std::u16string& value : model)
        joined += (&value == model.data() ? u"" : u",") + value;
    FUZZ_REQUIRE(ToUtf16(StringArrayToString(values)) == joined);
}

void Step(FuzzInput& input, StringArray& values, Model& model)
{
    const unsigned action = input.Byte() % 6;
    if (action < 3) {
        const Text text(input, values), set(input, values);
        if (action == 0) {
            SplitModel(text.model, model, set.model);
            FUZZ_REQUIRE(ParseDelimitersValues(text, values, set));
            return;
        }
        const auto delimiter = static_cast<char>(Unit(input));
        const auto widened = static_cast<char16_t>(static_cast<signed char>(delimiter));
        const bool expected = ParseModel(text.model, model, widened, set.model);
        FUZZ_REQUIRE(ParseValues(text, values, delimiter, set) == expected);
    } else if (action == 3) {
        const Text text(input, values);
        values.push_back(text);
        model.push_back(text.model);
    } else if (action == 4) {
        const std::size_t from = input.Byte() % (model.size() + 1);
        const std::size_t to = input.Byte() % (model.size() + 1);
        const std::size_t capacity = values.capacity();
        FUZZ_REQUIRE(values.erase(values.begin() + from, values.begin() + to) ==
                     values.begin() + from);
        FUZZ_REQUIRE(values.capacity() == capacity);
        if (from < to)
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(from),
                        model.begin() + static_cast<std::ptrdiff_t>(to));
    } else {
        CheckQueries(input, values, model);
    }
}

template <class List> void RequireEqual(const List& list, const Model& model)
{
    FUZZ_REQUIRE(list.size() == model.size());
    for (std::size_t i = 0; i < model.size(); ++i)
        FUZZ_REQUIRE(ToUtf16(list[i]) == model[i]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kMost = 300;
    FuzzInput input(data, size);
    StringArray values;
    StringVector tokens;
    Model valuesModel, tokensModel;
    while (!input.Empty() && valuesModel.size() < kMost) {
        Step(input, values, valuesModel);
        RequireEqual(values, valuesModel);
        CheckTokens(input, tokens, tokensModel);
        RequireEqual(tokens, tokensModel);
    }
    return 0;
}
