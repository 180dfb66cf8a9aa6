/* Runs a shell command for so many seconds at most, then shows how it ended and what it printed.
 *
 *     run_with_timeout SECONDS COMMAND
 *
 * The result is the command's status, 124 when it was killed at its limit. The limit takes with it
 * whatever the command started, unless that moved into a process group of its own.
 */
#include <mirovan.h>

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum
{
    result_usage = 2,
    result_killed = 124,
    result_failed = 125
};

static int failure(const char* what)
{
    int reason = 0;
    const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
    fprintf(stderr, "%s: %s (%s)\n", what, Mirovan_GetErrorText(code), strerror(reason));
    return result_failed;
}

/* The command, its output and its status kept in the folder. It stands on lines of its own, so that
 * a comment at its end does not swallow the rest. */
static char* command_line(const char* folder, const char* command)
{
    static const char form[] = "(\n%s\n) >'%s/output' 2>&1 </dev/null\necho $? >'%s/status'";
    const size_t size = sizeof form + strlen(command) + 2 * strlen(folder);
    char* line = malloc(size);
    if (line != NULL)
        snprintf(line, size, form, command, folder, folder);
    return line;
}

/* Only the shell is killed at the limit. So this runs in a process that leads a group, and ends
 * with the group when there is no status. */
static int run_in_group(const char* line, const char* status_file, int limit)
{
    MIROVAN_FILE_ATTR attributes;
    setpgid(0, 0);
    if (!Mirovan_System_SystemEx(line, limit))
        return failure("run_with_timeout");
    if (!Mirovan_File_GetFileAttrA(status_file, &attributes) || attributes.nFileSize == 0)
        kill(0, SIGKILL);
    return 0;
}

static int run(const char* line, const char* status_file, int limit)
{
    int status = 0;
    (void)fflush(NULL);
    const pid_t group = fork();
    if (group == 0)
        _exit(run_in_group(line, status_file, limit));
    if (group < 0)
    {
        perror("fork");
        return result_failed;
    }
    while (waitpid(group, &status, 0) < 0 && errno == EINTR)
        ;
    if (WIFSIGNALED(status))
        return result_killed;
    if (WEXITSTATUS(status) != 0)
        return WEXITSTATUS(status);

    FILE* file = fopen(status_file, "r");
    char text[16] = "";
    if (file == NULL || fgets(text, sizeof text, file) == NULL)
        perror(status_file);
    if (file != NULL)
        (void)fclose(file);
    return text[0] != '\0' ? (int)strtol(text, NULL, 10) : result_failed;
}

static void show_output(const char* path)
{
    char block[4096];
    size_t length = 0;
    FILE* file = fopen(path, "r");
    if (file == NULL)
        return;
    while ((length = fread(block, 1, sizeof block, file)) != 0)
        (void)fwrite(block, 1, length, stdout);
    (void)fclose(file);
}

int main(int argc, char** argv)
{
    const char* temporary = getenv("TMPDIR");
    char folder[MIROVAN_PATH_SIZE];
    char output_file[sizeof folder + 8];
    char status_file[sizeof folder + 8];
    char* end = NULL;
    const long limit = argc == 3 ? strtol(argv[1], &end, 10) : 0;
    if (argc != 3 || end == argv[1] || *end != '\0' || limit < 1 || limit > 1000000)
    {
        fprintf(stderr, "usage: run_with_timeout SECONDS COMMAND\n");
        return result_usage;
    }
    snprintf(folder, sizeof folder, "%s/run_with_timeout-XXXXXX",
             temporary != NULL ? temporary : "/tmp");
    if (mkdtemp(folder) == NULL)
    {
        perror(folder);
        return result_failed;
    }
    snprintf(output_file, sizeof output_file, "%s/output", folder);
    snprintf(status_file, sizeof status_file, "%s/status", folder);

    char* line = command_line(folder, argv[2]);
    int result = line != NULL ? run(line, status_file, (int)limit) : result_failed;
    free(line);
    show_output(output_file);
    if (result == result_killed)
        fprintf(stderr, "killed at its limit of %ld s\n", limit);
    else
        fprintf(stderr, "ended with status %d\n", result);
    if (!Mirovan_File_DeleteMutilFolderA(folder, true))
        (void)failure(folder);
    return result;
}
