/* Lists, copies or empties a tree of folders.
 *
 *     tree_tool list FOLDER-OR-PATTERN    such as /usr/include or "/usr/include/\*.h"
 *     tree_tool copy FOLDER DESTINATION   existing files are replaced, links become files
 *     tree_tool empty FOLDER [--yes]      without --yes only tells what would go
 *
 * Long work shows its progress when standard error is a terminal. What fails is shown with its code
 * and text, the rest is still done, and the exit status is 1.
 */
#include <mirovan.h>

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum
{
    files_only = 1,
    folders_only = 2,
    everything = 3
};

/* A row table together with its count. */
struct paths
{
    char** rows;
    int count;
};

static int failures;

static void end_progress(void)
{
    if (isatty(STDERR_FILENO))
        fprintf(stderr, "\r\033[K");
}

/* At most ten times a second, so that showing it costs nothing. */
static void show_progress(const char* doing, int done, int all)
{
    static struct timespec last;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double passed =
        (double)(now.tv_sec - last.tv_sec) + (double)(now.tv_nsec - last.tv_nsec) / 1e9;
    if (passed < 0.1 || !isatty(STDERR_FILENO))
        return;
    last = now;
    fprintf(stderr, "\r\033[K%s %d of %d", doing, done, all);
}

static void show_failure(const char* path)
{
    int reason = 0;
    const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
    ++failures;
    end_progress();
    fprintf(stderr, "%s: 0x%" PRIX64 " %s (%s)\n", path, code, Mirovan_GetErrorText(code),
            strerror(reason));
}

/* Finding nothing is no failure here. */
static bool find(const char* what, bool recurse, int kind, struct paths* found)
{
    found->rows = NULL;
    found->count = 0;
    if (Mirovan_File_EnumFileA(what, &found->rows, &found->count, recurse, kind) ||
        Mirovan_GetThreadError(NULL, NULL) == ERROR_MIROVAN_FILE_ENUM_EMPTY)
        return true;
    show_failure(what);
    return false;
}

static void release(struct paths* found)
{
    Fundix_Memory_Free((void***)&found->rows, found->count);
}

static int64_t size_of(const char* path)
{
    MIROVAN_FILE_ATTR attributes;
    return Mirovan_File_GetFileAttrA(path, &attributes) && attributes.bIsFile ? attributes.nFileSize
                                                                              : 0;
}

static void list(const char* what)
{
    struct paths found;
    int64_t total = 0;
    if (!find(what, true, everything, &found))
        return;
    for (int i = 0; i < found.count; ++i)
    {
        const int64_t size = size_of(found.rows[i]);
        total += size;
        printf("%12" PRId64 "  %s\n", size, found.rows[i]);
    }
    printf("%d entries, %" PRId64 " bytes\n", found.count, total);
    release(&found);
}

/* Where a path below the source belongs below the destination. */
static bool destination_of(const char* path, size_t source_length, const char* destination,
                           char target[MIROVAN_PATH_SIZE])
{
    const char* below = path + source_length;
    below += strspn(below, "/");
    if (snprintf(target, MIROVAN_PATH_SIZE, "%s/%s", destination, below) < MIROVAN_PATH_SIZE)
        return true;
    ++failures;
    fprintf(stderr, "%s: its path would be too long below %s\n", path, destination);
    return false;
}

static void copy_folders(const struct paths* folders, const char* source, const char* destination)
{
    char target[MIROVAN_PATH_SIZE];
    for (int i = 0; i < folders->count; ++i)
        if (destination_of(folders->rows[i], strlen(source), destination, target) &&
            !Mirovan_File_CreateMutilFolderA(target))
            show_failure(target);
}

static void copy_files(const char* source, const char* destination)
{
    struct paths files;
    char target[MIROVAN_PATH_SIZE];
    int copied = 0;
    int64_t total = 0;
    if (!find(source, true, files_only, &files))
        return;
    for (int i = 0; i < files.count; ++i)
    {
        show_progress("copying", i, files.count);
        if (!destination_of(files.rows[i], strlen(source), destination, target))
            continue;
        if (!Mirovan_File_CopyFileA(files.rows[i], target, false))
        {
            show_failure(files.rows[i]);
            continue;
        }
        ++copied;
        total += size_of(target);
    }
    end_progress();
    printf("%d of %d files copied, %" PRId64 " bytes\n", copied, files.count, total);
    release(&files);
}

static bool is_below(const char* folder, const char* path)
{
    char* real_folder = realpath(folder, NULL);
    char* real_path = realpath(path, NULL);
    const size_t length = real_folder != NULL ? strlen(real_folder) : 0;
    const bool below = real_folder != NULL && real_path != NULL &&
                       strncmp(real_folder, real_path, length) == 0 &&
                       (real_path[length] == '/' || real_path[length] == '\0');
    free(real_folder);
    free(real_path);
    return below;
}

static void copy(const char* source, const char* destination)
{
    struct paths folders;
    if (!find(source, true, folders_only, &folders))
        return;
    if (!Mirovan_File_CreateMutilFolderA(destination))
    {
        show_failure(destination);
    }
    else if (is_below(source, destination))
    {
        /* It would be copied into itself. */
        ++failures;
        fprintf(stderr, "%s lies in %s\n", destination, source);
    }
    else
    {
        copy_folders(&folders, source, destination);
        copy_files(source, destination);
    }
    release(&folders);
}

static void empty(const char* folder, bool confirmed)
{
    struct paths found;
    if (!find(folder, true, everything, &found))
        return;
    const int all = found.count;
    release(&found);
    if (!confirmed)
    {
        printf("%d entries would be deleted; say --yes to delete them\n", all);
        return;
    }

    /* Folder by folder, for the progress; what is left then goes together. */
    if (!find(folder, false, folders_only, &found))
        return;
    for (int i = 0; i < found.count; ++i)
    {
        show_progress("deleting folder", i + 1, found.count);
        if (!Mirovan_File_DeleteMutilFolderA(found.rows[i], true))
            show_failure(found.rows[i]);
    }
    release(&found);
    end_progress();
    if (!Mirovan_File_DeleteMutilFolderA(folder, false) && failures == 0)
        show_failure(folder);
    if (failures == 0)
        printf("%d entries deleted\n", all);
}

int main(int count, char** words)
{
    const char* command = count > 2 ? words[1] : "";
    if (strcmp(command, "list") == 0 && count == 3)
    {
        list(words[2]);
    }
    else if (strcmp(command, "copy") == 0 && count == 4)
    {
        copy(words[2], words[3]);
    }
    else if (strcmp(command, "empty") == 0 &&
             (count == 3 || (count == 4 && strcmp(words[3], "--yes") == 0)))
    {
        empty(words[2], count == 4);
    }
    else
    {
        fprintf(stderr, "tree_tool list FOLDER-OR-PATTERN\n"
                        "tree_tool copy FOLDER DESTINATION\n"
                        "tree_tool empty FOLDER [--yes]\n");
        return 2;
    }
    return failures == 0 ? 0 : 1;
}
