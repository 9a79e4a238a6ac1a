# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# Cross build for arm-linux-gnueabihf head units with Debian's cross compiler and the
# target's multiarch -dev packages (scripts/install-deps with VEL_WITH_CROSS).
set(CMAKE_SYSTEM_PROCESSOR arm)
set(VEL_TARGET_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
