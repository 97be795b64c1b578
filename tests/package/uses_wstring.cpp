#include <string>

int main(int argc, char** argv)
{
    std::wstring text(static_cast<std::size_t>(argc), L'x');
    text += static_cast<wchar_t>(argv[0][0]);
    return static_cast<int>(text.size());
}
