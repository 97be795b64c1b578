#include "xelutils/platform/posix/paths.h"

#include <algorithm>
#include <iterator>

#include "xelutils/platform/posix/case_tables.h"
#include "xelutils/platform/posix/utf.h"

namespace {

constexpr char kHostSeparator = '/';
constexpr wchar_t kHostFolder[] = L".host";
constexpr wchar_t kCarriedBackslash = 0xF05C;
// A byte b from 80 to FF is carried as kCarrierBase + b.
constexpr unsigned kCarrierBase = 0xDC00;

bool IsSeparator(wchar_t unit)
{
    return unit == '\\' || unit == '/';
}

bool IsCarrier(char32_t character)
{
    return character >= kCarrierBase + 0x80 && character <= kCarrierBase + 0xFF;
}

// ---- One name -----------------------------------------------------------------------------

// Appends the bytes of one component; false when no host name stands for it.
bool AppendHostName(std::string& path, const wchar_t* name, std::size_t length)
{
    const std::size_t start = path.size();
    bool carries = false;
    const wchar_t* const end = name + length;
    const wchar_t* unit = std::find_if(name, end, [](wchar_t u) { return u >= kEndOfAscii; });
    path.resize(start + static_cast<std::size_t>(unit - name));
    std::transform(name, unit, path.begin() + static_cast<std::ptrdiff_t>(start),
                   [](wchar_t ascii) { return static_cast<char>(ascii); });
    while (unit != end) {
        const char32_t character = TakeCharacter(unit, end);
        if (IsCarrier(character)) {
            path.push_back(static_cast<char>(character - kCarrierBase));
            carries = true;
        } else if (character == kCarriedBackslash) {
            path.push_back('\\');
        } else if (IsHighSurrogate(character) || IsLowSurrogate(character)) {
            return false;
        } else {
            AppendUtf8(path, character);
        }
    }
    if (!carries)
        return true;
    // Carried bytes that make up a character would be a second name for the same file.
    const std::vector<wchar_t> proper = DeviceNameFromHost(std::string_view(path).substr(start));
    return std::equal(proper.begin(), proper.end(), name, end);
}

void AppendDeviceName(std::vector<wchar_t>& units, std::string_view hostName)
{
    while (!hostName.empty()) {
        const DecodedUtf8 decoded = DecodeUtf8(hostName);
        if (decoded.length == 0 || decoded.character == kCarriedBackslash) {
            const std::size_t bytes = std::max<std::size_t>(decoded.length, 1);
            for (const char byte : hostName.substr(0, bytes))
                units.push_back(
                    static_cast<wchar_t>(kCarrierBase + static_cast<unsigned char>(byte)));
            hostName.remove_prefix(bytes);
            continue;
        }
        AppendUtf16(units, decoded.character == '\\' ? kCarriedBackslash : decoded.character);
        hostName.remove_prefix(decoded.length);
    }
}

bool IsHostFolder(const wchar_t* name, std::size_t length)
{
    return std::equal(name, name + length, kHostFolder, std::end(kHostFolder) - 1,
                      [](wchar_t a, wchar_t b) { return FoldCase(a) == FoldCase(b); });
}

// ---- Whole paths --------------------------------------------------------------------------

bool LiesBelow(std::string_view path, std::string_view directory)
{
    return path.substr(0, directory.size()) == directory &&
           (path.size() == directory.size() || path[directory.size()] == kHostSeparator);
}

void DropLastComponent(std::string& path, std::size_t rootLength)
{
    if (path.size() > rootLength)
        path.resize(path.rfind(kHostSeparator));
}

// `hostPath` is absolute, or empty for a root.
void AppendDevicePath(std::vector<wchar_t>& units, std::string_view hostPath)
{
    while (!hostPath.empty()) {
        const std::size_t end = std::min(hostPath.find(kHostSeparator, 1), hostPath.size());
        units.push_back('\\');
        AppendDeviceName(units, hostPath.substr(1, end - 1));
        hostPath.remove_prefix(end);
    }
}

// Without repeated and closing separators, "." and "..".
std::string TidyHostPath(std::string_view path)
{
    std::string tidy;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(kHostSeparator), path.size());
        const std::string_view component = path.substr(0, end);
        if (component == "..") {
            DropLastComponent(tidy, 0);
        } else if (!component.empty() && component != ".") {
            tidy.push_back(kHostSeparator);
            tidy.append(component);
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return tidy;
}

bool BeginsWithHostFolder(const std::vector<wchar_t>& devicePath)
{
    if (devicePath.empty())
        return false;
    const auto first = devicePath.begin() + 1;
    const auto end = std::find(first, devicePath.end(), L'\\');
    return IsHostFolder(devicePath.data() + 1, static_cast<std::size_t>(end - first));
}

} // namespace

bool IsRelativeDevicePath(const wchar_t* name)
{
    return !IsSeparator(*name);
}

std::optional<HostPath> ResolveDevicePath(const wchar_t* name, const PathBases& bases)
{
    if (*name == 0)
        return std::nullopt;
    bool atDeviceRoot = IsSeparator(*name);
    HostPath path;
    path.text = atDeviceRoot ? bases.root : bases.workingDirectory;
    path.baseLength = path.text.size();
    std::size_t rootLength = LiesBelow(path.text, bases.root) ? bases.root.size() : 0;
    for (;;) {
        while (IsSeparator(*name)) {
            ++name;
            path.endsInSeparator = true;
        }
        if (*name == 0)
            return path;

        const wchar_t* end = name;
        while (*end != 0 && !IsSeparator(*end))
            ++end;
        const auto length = static_cast<std::size_t>(end - name);
        const bool isDot = length == 1 && name[0] == '.';
        const bool isDotDot = length == 2 && name[0] == '.' && name[1] == '.';
        // These always mean folders.
        path.endsInSeparator = isDot || isDotDot;
        if (isDotDot) {
            DropLastComponent(path.text, rootLength);
            path.baseLength = std::min(path.baseLength, path.text.size());
        } else if (atDeviceRoot && path.text.size() == rootLength && IsHostFolder(name, length)) {
            path = {{}, 0, true};
            rootLength = 0;
            atDeviceRoot = false;
        } else if (!isDot) {
            path.text.push_back(kHostSeparator);
            if (!AppendHostName(path.text, name, length))
                return std::nullopt;
        }
        name = end;
    }
}

std::vector<wchar_t> DeviceNameFromHost(std::string_view hostName)
{
    std::vector<wchar_t> units;
    AppendDeviceName(units, hostName);
    return units;
}

std::vector<wchar_t> DevicePathFromHost(std::string_view hostPath, const PathBases& bases)
{
    const std::string path = TidyHostPath(hostPath);
    const bool belowRoot = LiesBelow(path, bases.root);
    std::vector<wchar_t> units;
    if (belowRoot)
        AppendDevicePath(units, std::string_view(path).substr(bases.root.size()));
    // A folder in the device's root can have the name of the way to the host, and hide behind it.
    if (!belowRoot || BeginsWithHostFolder(units)) {
        units.assign(1, L'\\');
        units.insert(units.end(), std::begin(kHostFolder), std::end(kHostFolder) - 1);
        AppendDevicePath(units, path);
    }
    if (units.empty())
        units.push_back(L'\\');
    units.push_back(0);
    return units;
}
