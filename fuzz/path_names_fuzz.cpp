// The pieces of a path against a plain model, and names made correct.
#include <string>

#include "fuzz_input.h"
#include "xelutils/files/file_funcs.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncs;
using namespace FileFuncsEx;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

// Few units and so many separators and dots; zeros too.
String Path(FuzzInput& input)
{
    String path;
    while (!input.Empty())
        path += input.One(L"\\\\//..ab:*\xD83D");
    return path;
}

std::u16string Units(const String& text)
{
    return {text.begin(), text.end()};
}

bool Is(const String& piece, const std::u16string& wanted)
{
    return piece.GetLength() == static_cast<int>(wanted.size()) && Units(piece) == wanted;
}

// Where what was searched for ends, 0 for nothing.
std::size_t Behind(std::size_t found)
{
    return found == std::u16string::npos ? 0 : found + 1;
}

void RequirePieces(const String& path)
{
    const std::u16string whole = Units(path);
    const std::u16string searched = whole.substr(0, whole.find(u'\0'));
    const std::size_t name = Behind(searched.find_last_of(u"\\/"));
    const std::size_t dot = std::min(searched.rfind(u'.'), whole.size());
    FUZZ_REQUIRE(GetFileNameStart(path) == static_cast<int>(name));
    FUZZ_REQUIRE(GetFileExtStart(path) == static_cast<int>(dot));

    const std::u16string folder = whole.substr(0, name == 0 ? 0 : name - 1);
    const std::u16string ext = dot == whole.size() ? u"" : whole.substr(dot + 1);
    FUZZ_REQUIRE(Is(ExtractFileNameWithExtFromPathName(path), whole.substr(name)));
    FUZZ_REQUIRE(Is(ExtractFileNameWithoutExtFromPathName(path),
                    dot < name ? u"" : whole.substr(name, dot - name)));
    FUZZ_REQUIRE(Is(ExtractFileNameExtFromPathName(path), ext));
    FUZZ_REQUIRE(Is(ExtractPathNameWithoutExtFromPathName(path), whole.substr(0, dot)));
    FUZZ_REQUIRE(Is(ExtractDirNameWithoutSlashFromPathName(path), folder));

    String outputs[5];
    FUZZ_REQUIRE(ExtractFileNameAndExtAndParentDirFromPathName(path, outputs[0], outputs[1],
                                                               outputs[2], outputs[3],
                                                               outputs[4]) == !ext.empty());
    const std::size_t parent = Behind(folder.find_last_of(u"\\/"));
    FUZZ_REQUIRE(Is(outputs[3], folder.substr(parent)));
    FUZZ_REQUIRE(Is(outputs[4], folder.substr(0, parent == 0 ? 0 : parent - 1)));
}

void RequireCorrectName(const String& name, wchar_t replacement)
{
    static constexpr char16_t kInvalid[] = u"<>\\/\":?*|";
    const String correct = CreateCorrectFileName(name, replacement);
    if (name.IsEmpty()) {
        FUZZ_REQUIRE(Is(correct, std::u16string(1, replacement)));
        return;
    }
    const bool isInvalid = std::u16string_view(kInvalid).find(replacement) != std::u16string::npos;
    std::u16string wanted = Units(name);
    for (char16_t& unit : wanted) {
        if (std::u16string_view(kInvalid).find(unit) != std::u16string::npos)
            unit = isInvalid ? u'_' : static_cast<char16_t>(replacement);
    }
    FUZZ_REQUIRE(Is(correct, wanted));
    FUZZ_REQUIRE(IsFileNameCorrect(correct));
    FUZZ_REQUIRE(IsFileNameCorrect(name) == (Units(name) == wanted));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const wchar_t replacement = input.Unit();
    const wchar_t invalid = L"<>\\/\":?*|"[input.Byte() % 9];
    const String path = Path(input);
    RequirePieces(path);
    RequireCorrectName(path, replacement);
    RequireCorrectName(path, invalid);
    return 0;
}
