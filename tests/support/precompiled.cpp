// The program whose options the precompiled header is made with.

int main()
{
    return 0;
}
