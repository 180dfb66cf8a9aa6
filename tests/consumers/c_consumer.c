#include <mirovan.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/* Exits with 0 when the installed library answers a program in C. */
int main(void)
{
    MIROVAN_FILE_ATTR attributes;
    char output[64] = "";
    int system_errno = 0;

    if (!Mirovan_File_GetFileAttrA("/", &attributes) || attributes.bIsFile)
        return 1;
    if (Mirovan_File_GetFileAttrA("/nonexistent-mirovan", &attributes))
        return 2;
    if (Mirovan_GetLastError(&system_errno) != ERROR_MIROVAN_FILE_ATTR_NOTFOUND ||
        !Mirovan_IsErrorOccur || system_errno == 0)
        return 3;
    if (!Mirovan_Process_ReadCmdReturn("echo hello", output, 1, 0, NULL) ||
        strcmp(output, "hello\n") != 0)
        return 4;
    if (Mirovan_System_GetSysIdleTime(NULL))
        return 5;
    printf("%s, last code %#" PRIx64 "\n", Mirovan_GetVersion(), Mirovan_dwErrorCode);
    return strcmp(Mirovan_GetVersion(), MIROVAN_VERSION) == 0 ? 0 : 6;
}
