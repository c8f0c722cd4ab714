package tarn.thx;

import java.util.concurrent.CountDownLatch;

/** Waits for ever on a thread with a name of its own. */
public class AdminConsole {
    public static void main(String[] arguments) throws InterruptedException {
        Thread planted = new Thread(AdminConsole::waitForGood, "planted thread of the console");
        planted.start();
        planted.join();
    }

    static void waitForGood() {
        try {
            new CountDownLatch(1).await();
        } catch (InterruptedException end) {
            Thread.currentThread().interrupt();
        }
    }
}

/** The same under another name, for a second process. */
class WebManagement {
    public static void main(String[] arguments) throws InterruptedException {
        AdminConsole.main(arguments);
    }
}
