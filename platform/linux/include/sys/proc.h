#pragma once

// The statuses are those of macOS, where every process that lives and is not stopped has SRUN:
// whether it runs tells the number of its running threads. The two that macOS does not give to such
// a process stand for what Linux tells beyond that.

constexpr int SIDL = 1;   // Idle: a kernel thread without work.
constexpr int SRUN = 2;   // Running or sleeping.
constexpr int SSLEEP = 3; // Sleeping uninterruptibly.
constexpr int SSTOP = 4;
constexpr int SZOMB = 5;
