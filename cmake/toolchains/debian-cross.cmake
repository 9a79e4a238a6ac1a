# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# What every Debian cross build of libvel shares; the per-target files set
# CMAKE_SYSTEM_PROCESSOR and VEL_TARGET_TRIPLET and include this one.
# Libraries and headers live in the host's own / under the triplet's
# multiarch directories, so the sysroot is /. Code generators (gdbus-codegen)
# are found on the host; target binaries run under qemu-user via binfmt_misc.
set(CMAKE_SYSTEM_NAME Linux)

set(CMAKE_C_COMPILER ${VEL_TARGET_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${VEL_TARGET_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${VEL_TARGET_TRIPLET})

# Programs from the host; libraries, headers and packages only of the target.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH /)

# pkg-config must see only the target's .pc files, never the host's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${VEL_TARGET_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")

# No CMAKE_CROSSCOMPILING_EMULATOR: CTest and test discovery run the target's
# binaries directly and binfmt_misc hands them to qemu-user
# (scripts/enable-binfmt), which also covers the tests' own child processes
# (mvel-sim, velctl) and the store tests' namespace runner.
