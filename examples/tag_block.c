/* tag_block.c: fills a tag block with texts, a picture and chapters, and reads them back. */
#include <stdio.h>
#include <string.h>
#include <tonekit/tonekit.h>

int main(void)
{
    static const uint8_t cover[] = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F'}; /* your JPEG file */
    TagBlockItem item;
    TagBlockPicture picture;
    TagBlock *block = ID3Helper_Alloc();
    if (!block)
        return 1;

    ID3Helper_AddStr(block, "Title", "Caf\xC3\xA9"); /* UTF-8 */
    ID3Helper_AddStr(block, "TITLE", "another");     /* the key is taken: nothing happens */
    ID3Helper_AddDword(block, "Track", 7);
    ID3Helper_AddImage(block, NULL, TONEKIT_PICTURE_FRONT_COVER, sizeof cover, cover);
    ID3Helper_AddChapter_UTF8(block, 1, 0, "Beginning");
    ID3Helper_AddChapter_UTF8(block, 2, 1205000000, "Middle"); /* at 120.5 seconds, in units of 100 ns */

    for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item))
        printf("%s = %s\n", item.key, item.value);
    for (bool more = ID3Helper_GetFirstImage(block, &picture); more;
         more = ID3Helper_GetNextImage(block, &picture))
        printf("picture %d: %s, %u bytes\n", (int)picture.type, picture.mime, (unsigned)picture.size);

    const bool right = strcmp(ID3Helper_GetStr(block, "title"), "Caf\xC3\xA9") == 0 &&
                       ID3Helper_GetDword(block, "Track") == 7 &&
                       ID3Helper_GetChapter_Position(block, 2) == 1205000000 &&
                       ID3Helper_GetChapter_Position(block, 3) == TONEKIT_NO_POSITION &&
                       strcmp(ID3Helper_GetChapter_Name(block, 2), "Middle") == 0;
    ID3Helper_Free(block); /* texts and pictures go with it */
    return right ? 0 : 1;
}
