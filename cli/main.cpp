#include "cli/quellor.h"

int main() { quellor::Quellor::main(); }
