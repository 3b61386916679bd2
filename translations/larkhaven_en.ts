<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>Larkhaven::ReaderBanner</name>
    <message numerus="yes">
        <source>%n tracking images blocked</source>
        <translation>
            <numerusform>%n tracking image blocked</numerusform>
            <numerusform>%n tracking images blocked</numerusform>
        </translation>
    </message>
</context>
</TS>
