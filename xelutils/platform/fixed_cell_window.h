// A window made of cells of one width: the lines of a terminal, or of a list in plain text.
#pragma once

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/host_window.h"

// How many cells the first `length` units of `text` take: two for a wide character (of East Asian
// scripts, and emoji), none for one that joins the character before it or has no shape, one for
// every other. The two units of a surrogate pair are one character.
XELUTILS_API int CellsOfText(const wchar_t* text, int length);

// Hand its address to whatever asks for an HWND.
class FixedCellWindow final : public HostWindow {
public:
    explicit FixedCellWindow(int columns) : m_columns(columns) {}

    int ClientWidth() const override { return m_columns; }
    int TextWidth(const wchar_t* text, int length) const override
    {
        return CellsOfText(text, length);
    }

private:
    const int m_columns;
};
