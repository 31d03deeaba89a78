// shared_code.cpp: what no tier object may hold: a function that the linker keeps one copy of for all
// objects.
template <class Number>
Number Halve(Number number)
{
    return number / 2;
}

template int Halve<int>(int number);
