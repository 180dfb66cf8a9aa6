#pragma once

constexpr int SIDL = 1;
constexpr int SRUN = 2;
constexpr int SSLEEP = 3;
constexpr int SSTOP = 4;
constexpr int SZOMB = 5;
