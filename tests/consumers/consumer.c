#include <mirovan.h>

#include <stdio.h>
#include <string.h>

/* Exits with 0 when the library answers a program in C, errors and commands included. */
int main(void)
{
    MIROVAN_FILE_ATTR attributes;
    char output[64] = "";
    tag_Mirovan_Cpu_Information cpu = {0};
    int system_errno = 0;

    if (!Mirovan_File_GetFileAttrA("/", &attributes) || attributes.bIsFile)
        return 1;
    if (Mirovan_File_GetFileAttrA("/nonexistent-mirovan", &attributes) ||
        Mirovan_GetLastError(&system_errno) != ERROR_MIROVAN_FILE_ATTR_NOTFOUND ||
        !Mirovan_IsErrorOccur || system_errno == 0)
        return 2;
    if (!Mirovan_Process_ReadCmdReturn("echo hello", output, 1, 0, NULL) ||
        strcmp(output, "hello\n") != 0)
        return 3;
    if (!Mirovan_HardWare_GetCpuInfomation(&cpu) || cpu.tszProcessorName[0] == '\0')
        return 4;
    return strcmp(Mirovan_GetVersion(), MIROVAN_VERSION) == 0 ? 0 : 5;
}
