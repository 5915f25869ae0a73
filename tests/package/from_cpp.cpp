// A C++ program against the installed library.
#include <zavo.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

int main()
{
    zavo_random_seed_set(123457);
    const std::unique_ptr<float, decltype(&std::free)> deviates(zavo_f_random_uniform(1000, 0), &std::free);
    if (!deviates) {
        std::cout << "no deviates\n";
        return 1;
    }
    double sum = 0;
    for (int i = 0; i < 1000; ++i) {
        sum += deviates.get()[i];
    }
    const bool plausible = sum > 450 && sum < 550;
    const bool day = zavo_date_to_days(15, 10, 1582) == -115860;
    std::vector<float> x = {3, 1, 2};
    int nz = 0;
    const std::unique_ptr<float, decltype(&std::free)> z(zavo_f_convolution(3, x.data(), 3, x.data(), &nz, 0),
                                                         &std::free);
    const bool convolved = z && nz >= 5 && z.get()[0] > 8.99F && z.get()[0] < 9.01F;
    std::cout << "C++ program: " << (plausible && day && convolved ? "good" : "wrong") << '\n';
    return plausible && day && convolved ? 0 : 1;
}
