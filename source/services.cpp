#include "mirovan.h"

// Apart from pch, so that the objects are constructed and destroyed by calls in the order of pch.
CMirovan_File::CMirovan_File() = default;
CMirovan_File::~CMirovan_File() = default;
CMirovan_HardWare::CMirovan_HardWare() = default;
CMirovan_HardWare::~CMirovan_HardWare() = default;
CMirovan_Process::CMirovan_Process() = default;
CMirovan_Process::~CMirovan_Process() = default;
CMirovan_System::CMirovan_System() = default;
CMirovan_System::~CMirovan_System() = default;
