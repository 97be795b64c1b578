// What an HWND points to where the host has no windows of the device's kind.
#pragma once

// Two questions that a program answers for the place where its text appears. Widths are in units
// of its own choice, pixels or columns.
class HostWindow {
public:
    virtual int ClientWidth() const = 0;

    // Of `length` units of UTF-16, none of which is a terminator.
    virtual int TextWidth(const wchar_t* text, int length) const = 0;

protected:
    ~HostWindow() = default;
};
