#include "mirovan.h"

// In a unit of their own, so that the objects really are constructed and destroyed by calls.
CMirovan_File::CMirovan_File() = default;
CMirovan_File::~CMirovan_File() = default;
CMirovan_HardWare::CMirovan_HardWare() = default;
CMirovan_HardWare::~CMirovan_HardWare() = default;
CMirovan_Process::CMirovan_Process() = default;
CMirovan_Process::~CMirovan_Process() = default;
CMirovan_System::CMirovan_System() = default;
CMirovan_System::~CMirovan_System() = default;
