// What "xelini get FILE SECTION KEY" does, with GKeyFile.
#include <cstdio>

#include <glib.h>

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    GKeyFile* keyFile = g_key_file_new();
    GError* error = nullptr;
    if (!g_key_file_load_from_file(keyFile, argv[1], G_KEY_FILE_NONE, &error)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error->message);
        return 2;
    }
    gchar* value = g_key_file_get_value(keyFile, argv[2], argv[3], nullptr);
    if (value)
        std::puts(value);
    const int status = value ? 0 : 1;
    g_free(value);
    g_key_file_free(keyFile);
    return status;
}
