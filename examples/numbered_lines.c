/* The output of a command, line by line while it runs; the function ends it when it has enough.
 *
 *     numbered_lines COMMAND LINES
 */
#include <mirovan.h>

#include <stdio.h>
#include <stdlib.h>

struct count
{
    long shown;
    long wanted;
};

static bool show_line(const char* line, int length, void* context)
{
    struct count* const count = context;
    printf("%6ld  %.*s", ++count->shown, length, line);
    return count->shown < count->wanted;
}

int main(int argc, char** argv)
{
    struct count count = {0, argc == 3 ? strtol(argv[2], NULL, 10) : 0};
    if (count.wanted < 1)
    {
        fprintf(stderr, "usage: numbered_lines COMMAND LINES\n");
        return 2;
    }
    if (Mirovan_Process_ReadCmdLines(argv[1], 0, 1, show_line, &count))
        return 0;
    fprintf(stderr, "%s\n", Mirovan_GetErrorText(Mirovan_GetThreadError(NULL, NULL)));
    return 1;
}
