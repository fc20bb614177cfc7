rem Nothing is mapped at logon here.
