/* The public records and selector numbers used from plain C.
 *
 * Compiled as C11 with -Wall -Wextra -pedantic; the layout checks in the
 * records header run at compile time, so building this file is most of the
 * test. Each header is included twice to prove its include guard. */
#include <string.h>

#include <xefile/xefile_records.h>
#include <xefile/xefile_records.h>
#include <xefile/xefile_selectors.h>
#include <xefile/xefile_selectors.h>

int main(void)
{
    /* The magic as it stands in a file: the characters 'C' then 'I'. */
    static const unsigned char file_start[2] = {'C', 'I'};
    /* Length as the bytes of a file hold it, little-endian at 142. */
    static const unsigned char length_bytes[2] = {SETUP_LENGTH & 0xFF, SETUP_LENGTH >> 8};
    static Setup setup;
    CineFileHeader header;

    memset(&header, 0, sizeof header);
    memcpy(&header.Type, file_start, sizeof file_start);
    if (header.Type != CINE_TYPE_CI)
        return 1;

    memcpy((unsigned char *)&setup + 142, length_bytes, sizeof length_bytes);
    if (setup.Length != SETUP_LENGTH)
        return 2;

    return 0;
}
