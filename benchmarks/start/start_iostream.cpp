// The least program that uses the standard streams.
#include <iostream>

int main() {
    std::cout << std::flush;
}
