#include "mirovan.h"

// The order of these definitions is the order of construction; destruction is the reverse.
CMirovan_File m_FileSdk;
CMirovan_HardWare m_Hardware;
CMirovan_Process m_ProcessSdk;
CMirovan_System m_SystemSdk;
