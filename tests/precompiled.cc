// SPDX-License-Identifier: Apache-2.0
// Nothing is done here: a precompiled header needs a program that is compiled as
// those are which use it.
int main() {}
