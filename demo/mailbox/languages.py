"""Letters in other scripts, each in the charset that its sender's program prefers, new and old."""

from demo.mailbox import mime
from demo.mailbox.people import ANNA, LAYLA, MARA, PAVEL, SATO, YUKI, Person

# Each row: sender, subject, charset, hours ago, folder, text.
LETTERS = (
    (YUKI, "ご予約の確認（11月4日から）", "iso-2022-jp", 30, "INBOX", "ヤンセン様\n\nこのたびはご予約をいただき、誠にありがとうございます。\n\n　ご到着　11月4日（火）15時ごろ\n　ご宿泊　六泊、二階「楓」の間\n"
     "　ご朝食　八時（お粥またはパン）\n\n駅からは市バスが便利です。雨の日は傘を用意しておりますので、どうぞ手ぶらでお越しください。\n\n田中 由紀\n"),
    (SATO, "紅葉の見ごろについて", "shift_jis", 51, "INBOX", "ヤンセン様\n\n今年の紅葉は例年より少し遅れております。東山は十一月の十日すぎ、嵐山は十五日ごろが見ごろになりそうです。\n\n"
     "朝の七時までに出かけると、人も少なく、光もきれいです。\n\n佐藤 健\n"),
    (YUKI, "図書館の見学", "euc-jp", 96, "INBOX", "ヤンセン様\n\n町の図書館に問い合わせましたところ、六日の午後なら案内してくださるそうです。古い地図の部屋もあります。\n\nお返事をお待ちしております。\n\n由紀\n"),
    (YUKI, "Re: 図書館の見学", "utf-8", 80, "旅行/京都", "ヤンセン様\n\nそれでは六日の午後二時に、図書館の入口でお待ちしております。館長の森さんはドイツ語を少し話されます。📚\n\n由紀\n"),
    (SATO, "市バスの時刻表", "utf-8", 130, "旅行", "京都駅前のりば D2、二〇六系統。十分おきに出ております。お釣りが出ませんので、小銭をご用意ください。\n\n佐藤\n"),
    (YUKI, "お食事のご希望", "iso-2022-jp", 170, "旅行/京都", "ヤンセン様\n\nお魚とお肉、どちらがよろしいでしょうか。苦手なものがございましたらお知らせください。\n\n田中 由紀\n"),
    (Person("京都古書組合", "kumiai@koshoichi.example"), "秋の古本まつりのお知らせ", "shift_jis", 260, "旅行/京都", "恒例の古本まつりを知恩寺の境内で開きます。雨天決行。均一本は三冊五百円です。\n"),
    (ANNA, "Письмо из архива", "koi8-r", 34, "INBOX", "Уважаемая Мара,\n\nмы нашли в описи 14 три письма, отправленные из вашего города в 1903 году. Почерк мелкий, чернила выцвели, но читать можно.\n\n"
     "Прислать вам снимки по почте или лучше на диске?\n\nС уважением,\nАнна Морозова\n"),
    (PAVEL, "Счёт за копии", "windows-1251", 63, "INBOX", "Здравствуйте, Мара!\n\nСчёт за копии: 42 листа по 15 рублей, итого 630. Оплатить можно до конца месяца — мы не торопимся.\n\nПавел Ершов\n"),
    (ANNA, "Re: Письмо из архива", "utf-8", 18, "INBOX", "Мара, снимки уже в пути. Одно из писем начинается словами «Лампу всё ещё не привезли…» 🙂\n\nАнна\n"),
    (ANNA, "Опись 14, продолжение", "koi8-r", 740, "Архив/2025", "Высылаю продолжение описи: листы с 120 по 164. Два листа отсутствуют с 1931 года.\n\nАнна\n"),
    (PAVEL, "Читальный зал закрыт в пятницу", "windows-1251", 800, "Архив/2025", "В пятницу читальный зал закрыт: санитарный день. Приходите в понедельник, будет чай.\n"),
    (ANNA, "Фотографии зала", "utf-8", 860, "Архив/2025", "Новые полки — берёза. Как у вас! Поздравляю нас обеих.\n\nАнна\n"),
    (PAVEL, "Приглашение на конференцию", "iso-8859-5", 920, "Архив/2025", "Приглашаем вас на конференцию о письмах и почте. Доклад двадцать минут, обед целый час.\n"),
    (ANNA, "С Новым годом!", "koi8-u", 1900, "Архив", "Дорогая Мара, с Новым годом! Пусть в нём будет больше писем и меньше описей.\n"),
    (PAVEL, "Реквизиты архива", "windows-1251", 2000, "Архив", "Реквизиты для оплаты прилагаю ниже. Телефон прежний, но трубку берёт другой человек.\n"),
    (LAYLA, "معرض الخرائط القديمة", "windows-1256", 42, "INBOX", "عزيزتي مارا،\n\nيسعدنا أن نعيركم الخرائط الثلاث حتى نهاية آذار. خريطة الميناء هشّة جدًا، فأرجو ألا تُعرض للضوء أكثر من ثلاث ساعات في اليوم.\n\nمع التحية،\nليلى حداد\n"),
    (LAYLA, "موعد الشحن", "iso-8859-6", 76, "INBOX", "عزيزتي مارا،\n\nسيصل الصندوق يوم الخميس في الساعة 10. رقم الشحنة 4471 والوزن 12 كيلو.\n\nليلى\n"),
    (LAYLA, "رد: معرض الخرائط القديمة", "utf-8", 20, "INBOX", "وصلتنا صورة القاعة، وهي جميلة. هل يمكن وضع الخريطة الكبيرة على اليسار؟ (Wall B, left) 🗺️\n\nليلى\n"),
    (Person("陈 立", "chenli@example.com"), "关于借阅地图的问题", "gb18030", 108, "INBOX", "您好：\n\n请问贵馆是否收藏有一九一〇年前后的航海图？我下月到访，希望可以查阅。\n\n陈立\n"),
    (Person("김 서연", "seoyeon@example.org"), "엽서 잘 받았습니다", "euc-kr", 152, "INBOX", "마라 씨께\n\n보내 주신 엽서 잘 받았습니다. 등대 그림이 정말 예뻐서 책상 위에 두었어요.\n\n서연 드림\n"),
    (Person("Νίκος Παππάς", "nikos@example.net"), "Το καΐκι είναι έτοιμο", "iso-8859-7", 184, "INBOX", "Γεια σου Μάρα,\n\nτο καΐκι βάφτηκε και μυρίζει ακόμα. Σε περιμένουμε την άνοιξη.\n\nΝίκος\n"),
    (Person("Grażyna Lis", "grazyna@example.org"), "Zażółć gęślą jaźń, czyli nowa czcionka", "iso-8859-2", 220, "INBOX", "Droga Maro,\n\nprzesyłam próbkę nowej czcionki. Wszystkie ogonki są na miejscu, sprawdziłam dwa razy.\n\nGrażyna\n"),
    (Person("נועה לוי", "noa@example.com"), "שאלה על הספרים", "windows-1255", 246, "INBOX", "שלום מארה,\n\nהאם אפשר לקבל רשימה של הספרים לתערוכה עד יום ראשון?\n\nתודה,\nנועה\n"),
    (Person("สมชาย ใจดี", "somchai@example.net"), "ขอบคุณสำหรับหนังสือ", "tis-620", 280, "INBOX", "สวัสดีครับคุณมารา\n\nได้รับหนังสือแล้ว ขอบคุณมากครับ\n\nสมชาย\n"),
    (Person("Zoë Aydın", "zoe@example.org"), "Çay, şeker ve eski haritalar", "windows-1254", 296, "INBOX", "Sevgili Mara,\n\nharitaları buldum; dolabın en üstündeymiş. Çaya gelince konuşuruz.\n\nZoë\n"),
)


def add(post):
    for sender, subject, charset, age, folder, words in LETTERS:
        encoding = {"iso-2022-jp": "7bit", "shift_jis": "base64", "utf-8": "base64"}.get(charset, "quoted-printable")
        post.add("language", sender, subject, mime.text(words, charset, encoding=encoding), age, folder=folder, charset=charset,
                 scheme="Q" if charset in ("iso-8859-2", "windows-1254") else "B")
    _rich(post)
    _eight_bit(post)
    _answers(post)


def _rich(post):
    post.add("language", LAYLA, "جدول الأسبوع", post.alternative(
        mime.text("الاثنين: القاعة\nالثلاثاء: المخزن\n", "windows-1256", encoding="base64"),
        mime.html('<html><head><meta http-equiv="Content-Type" content="text/html; charset=windows-1256"></head><body dir="rtl"><p>جدول الأسبوع:</p>'
                  '<table border="1" cellpadding="6"><tr><th>اليوم</th><th>المكان</th></tr><tr><td>الاثنين</td><td>القاعة</td></tr>'
                  "<tr><td>الثلاثاء</td><td>المخزن</td></tr></table></body></html>", "windows-1256")), 89, charset="windows-1256")
    post.add("language", YUKI, "朝食の写真", post.alternative(
        mime.text("朝食の献立です。\n", "iso-2022-jp", encoding="7bit"),
        mime.html('<html><body style="font-family:serif"><h3>朝の献立</h3><ul><li>お粥、梅干し</li><li>焼き魚</li><li>だし巻き卵</li></ul>'
                  '<p style="color:#7b2d26">どうぞ、お楽しみに。</p></body></html>', "iso-2022-jp", "7bit")), 110, folder="旅行/京都", charset="iso-2022-jp")


def _eight_bit(post):
    """Old programs send raw bytes, and name the charset only in the body, or not at all."""
    post.add("language", PAVEL, "Письмо без MIME-кодировки", mime.text("Это письмо отправлено восемью битами, как в старые времена.\n", "koi8-r", encoding="8bit"),
             270, charset="koi8-r")
    post.add_raw("language", "unlabelled Latin-1", (
        "Return-Path: <kassierer@example.org>\nDate: {date}\nFrom: Kassierer <kassierer@example.org>\nTo: mara@larkhaven.example\n"
        "Subject: Beiträge für März fällig\nMessage-ID: <1998.1@example.org>\n\nLiebe Mitglieder,\n\ndie Beiträge sind fällig. Bitte überweisen, "
        "nicht in Münzen auf den Steg legen.\n").encode("iso-8859-1"), 310)
    post.add("language", Person("Cooperativa El Faro", "hola@elfaro.example"), "¿Vienes el sábado? ¡Habrá paella!",
             mime.text("¡Hola, Mara!\n\nEl sábado a las dos, en el muelle. Trae una silla; niños y señores, bienvenidos.\n", "iso-8859-15", encoding="8bit"), 204,
             charset="iso-8859-15", scheme="Q")


def _answers(post):
    post.add("language", MARA, "Re: ご予約の確認（11月4日から）", mime.text("田中様\n\nありがとうございます。お粥でお願いいたします。\n\nMara Jansen\n", "utf-8", encoding="base64"), 28,
             folder="Sent", to=(YUKI,), flags="S")
    post.add("language", MARA, "Re: Письмо из архива", mime.text("Анна, пришлите, пожалуйста, по почте. Большое спасибо!\n\nMara\n", encoding="quoted-printable"), 31,
             folder="Sent", to=(ANNA,), flags="S")
