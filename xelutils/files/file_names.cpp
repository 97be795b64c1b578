#include <algorithm>
#include <iterator>

#include "xelutils/files/file_funcs_ex.h"

namespace FileFuncsEx {

namespace {

bool IsInvalidInFileName(wchar_t ch)
{
    static constexpr wchar_t kInvalid[] = {'<', '>', '\\', '/', '"', ':', '?', '*', '|'};
    return std::find(std::begin(kInvalid), std::end(kInvalid), ch) != std::end(kInvalid);
}

} // namespace

bool IsFileNameCorrect(const CXelStringT<wchar_t>& name)
{
    return !name.IsEmpty() && std::none_of(name.begin(), name.end(), IsInvalidInFileName);
}

const CXelStringT<wchar_t> CreateCorrectFileName(const CXelStringT<wchar_t>& name,
                                                 wchar_t replacement)
{
    // Unchecked: callers that pass an invalid character get it back.
    if (name.IsEmpty())
        return {replacement, 1};

    const wchar_t substitute = IsInvalidInFileName(replacement) ? L'_' : replacement;
    CXelStringT<wchar_t> correct = name;
    for (int i = 0; i < correct.GetLength(); ++i) {
        if (IsInvalidInFileName(correct.GetAt(i)))
            correct.SetAt(i, substitute);
    }
    return correct;
}

} // namespace FileFuncsEx
