// SPDX-License-Identifier: MIT
// Only its precompiled headers are used.
int main() { return 0; }
