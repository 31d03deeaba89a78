/* jversion.h: the texts of the codec's version and copyright messages. */
#define JVERSION "8d  15-Jan-2012"
#define JCOPYRIGHT "Copyright (C) 1991-2023 The libjpeg-turbo Project, Mozilla and many others"
#define JCOPYRIGHT_SHORT "Copyright (C) 1991-2023 The libjpeg-turbo Project and many others"
