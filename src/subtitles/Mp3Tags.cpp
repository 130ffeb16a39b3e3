#include "subtitles/Mp3Tags.h"
