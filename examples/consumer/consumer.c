/* Reads the configured reference paths back, from C. */
#include <stdio.h>
#include <dpiwrapper/dpiwrapper.h>

int main(void)
{
    unsigned char len = 0;
    const char *path = NULL;
    unsigned int i;
    parse_udata();
    for (i = 0; get_kiv_paths(i, &len, &path) == 1; ++i)
        printf("%u %s\n", i, path);
    return 0;
}
