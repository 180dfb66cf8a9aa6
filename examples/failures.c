/* What a failed operation leaves: a code, its text, and errno as the system set it.
 *
 *     failures PATH...
 */
#include <mirovan.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv)
{
    int failed = 0;
    for (int i = 1; i < argc; ++i)
    {
        MIROVAN_FILE_ATTR attributes;
        if (Mirovan_File_GetFileAttrA(argv[i], &attributes))
        {
            printf("%s: %" PRId64 " bytes\n", argv[i], attributes.nFileSize);
            continue;
        }
        int reason = 0;
        const uint64_t code = Mirovan_GetThreadError(NULL, &reason);
        printf("%s: 0x%" PRIX64 " %s\n  errno: %s\n", argv[i], code, Mirovan_GetErrorText(code),
               strerror(reason));
        failed = 1;
    }
    return failed;
}
