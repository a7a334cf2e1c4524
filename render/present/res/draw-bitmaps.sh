#!/bin/sh
# Draws the status pictures and the toolbox bitmap with ImageMagick. The results are committed; run this again
# only to change the artwork.
set -eu
cd "$(dirname "$0")"

background='#181b21'
outline='#8a93a3'
fill='#2a2f39'
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# status NAME TITLE LINE ACCENT SIGN: a camera on a dark ground, a sign at its shoulder, two lines of text.
# Drawn at four times the size and reduced, which smooths the edges.
status() {
    convert -size 1280x960 "xc:$background" \
        -fill "$fill" -stroke "$outline" -strokewidth 14 \
        -draw 'roundrectangle 400,250 760,490 36,36' \
        -draw 'polygon 780,340 900,270 900,470 780,400' \
        -draw 'circle 540,370 540,295' \
        -fill "$background" -stroke "$outline" -strokewidth 10 -draw 'circle 540,370 540,330' \
        -stroke none -fill "$4" -draw 'circle 700,300 700,286' \
        -stroke "$background" -strokewidth 16 -fill "$4" -draw 'circle 800,500 800,420' \
        -stroke '#ffffff' -strokewidth 18 -fill none -draw "$5" \
        -resize 320x240 \
        -gravity north -stroke none -font DejaVu-Sans-Bold -pointsize 18 -fill '#e6e9ee' -annotate +0+156 "$2" \
        -font DejaVu-Sans -pointsize 12 -fill '#9aa3b2' -annotate +0+184 "$3" \
        +dither -colors 64 "$work/$1.png"
    # The corner colour surrounds the picture: put it exactly.
    convert "$work/$1.png" -fill "$background" -draw 'color 0,0 floodfill' -alpha off +dither -colors 64 \
        -type palette -compress none "BMP3:$1.bmp"
}

status Disconnect 'Disconnected' 'No live video' '#5b6472' \
    'stroke-linecap round line 765,465 835,535 line 835,465 765,535'
status ConnectFail 'Connection failed' 'Check address, user and password' '#c8453b' \
    'stroke-linecap round line 800,458 800,508 line 800,538 800,540'

# The toolbox shows 16 x 16 pixels; the colour of the corner becomes transparent there.
convert -size 16x16 'xc:#c0c0c0' +antialias \
    -fill '#404850' -draw 'rectangle 1,4 10,11' -fill '#7090c0' -draw 'rectangle 2,5 9,10' \
    -fill '#202428' -draw 'rectangle 4,6 7,9' -fill '#e8f0ff' -draw 'rectangle 5,7 5,7' \
    -fill '#404850' -draw 'polygon 11,7 14,4 14,11 11,8' -fill '#d03028' -draw 'rectangle 9,5 9,5' \
    -fill '#404850' -draw 'rectangle 4,12 7,12' -draw 'rectangle 3,13 8,13' \
    +dither -colors 16 -type palette -compress none BMP3:../../control/res/toolbox.bmp
