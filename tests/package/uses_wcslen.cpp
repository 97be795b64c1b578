#include <cwchar>

int main(int argc, char**)
{
    wchar_t text[8] = L"";
    text[0] = static_cast<wchar_t>(argc);
    return static_cast<int>(std::wcslen(text));
}
