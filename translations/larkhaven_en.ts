<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>Larkhaven::AddressLabel</name>
    <message numerus="yes">
        <source>and %Ln more</source>
        <comment>receivers of a message</comment>
        <translation>
            <numerusform>and %Ln more</numerusform>
            <numerusform>and %Ln more</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::MessageTable</name>
    <message numerus="yes">
        <source>%n messages</source>
        <comment>that are dragged</comment>
        <translation>
            <numerusform>%n message</numerusform>
            <numerusform>%n messages</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderBanner</name>
    <message numerus="yes">
        <source>%n tracking images blocked</source>
        <translation>
            <numerusform>%n tracking image blocked</numerusform>
            <numerusform>%n tracking images blocked</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images could not be loaded safely.</source>
        <translation>
            <numerusform>%n image could not be loaded safely.</numerusform>
            <numerusform>%n images could not be loaded safely.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::ReaderHeaders</name>
    <message numerus="yes">
        <source>%Ln attachments</source>
        <translation>
            <numerusform>%Ln attachment</numerusform>
            <numerusform>%Ln attachments</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::SearchLine</name>
    <message numerus="yes">
        <source>%Ln results for “%1” in %2</source>
        <translation>
            <numerusform>%Ln result for “%1” in %2</numerusform>
            <numerusform>%Ln results for “%1” in %2</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Larkhaven::SidebarView</name>
    <message numerus="yes">
        <source>%1, %Ln unread</source>
        <extracomment>a mailbox, and how many unread messages it has; read aloud</extracomment>
        <translation>
            <numerusform>%1, %Ln unread</numerusform>
            <numerusform>%1, %Ln unread</numerusform>
        </translation>
    </message>
</context>
</TS>
